#pragma once

#include "mkHostExport.h"

#include <QString>

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>

namespace osg {

class FieldContainer;
class FieldContainerPtr;
class FieldVisitor;

/// A set of fields of a container; every class names its own bits.
using BitVector = std::bitset<128>;
/// All fields of a container.
inline const BitVector AllFields = BitVector().set();

/// Where a change came from.
enum class ChangeOrigin : std::uint32_t {
    Internal = 0, ///< the scene graph itself
    External = 1, ///< somebody who edited the container's fields
};

/// What a container is: a name, a type id, a group id, and the type it derives from. Attachments
/// are found by group id; derived types share their parent's group unless they open their own.
/// Types are static objects and live as long as the library that declares them.
class MK_HOST_API FieldContainerType
{
public:
    enum class Group { Inherited, Own };
    /// Makes a container with default values.
    using Factory = FieldContainerPtr (*)();

    FieldContainerType(const char *name, const FieldContainerType *parent,
                       Group group = Group::Inherited);
    /// A type whose containers scene files keep: they find it by its name.
    FieldContainerType(const char *name, const FieldContainerType *parent, Factory factory,
                       Group group = Group::Inherited);
    ~FieldContainerType();
    FieldContainerType(const FieldContainerType &) = delete;
    FieldContainerType &operator=(const FieldContainerType &) = delete;

    const char *getName() const { return name; }
    std::uint32_t getId() const { return id; }
    std::uint32_t getGroupId() const;
    const FieldContainerType *getParent() const { return parent; }
    /// True for the type itself and for every type above it.
    bool isDerivedFrom(const FieldContainerType &other) const;

    /// The type of this name among those that have a factory, or null.
    static const FieldContainerType *find(const std::string &name);
    bool hasFactory() const { return factory != nullptr; }
    /// A new container; only for types that have a factory.
    FieldContainerPtr create() const;

private:
    const char *name;
    const FieldContainerType *parent;
    std::uint32_t id;
    Group group;
    Factory factory = nullptr;
};

/// The null handle.
inline constexpr std::nullptr_t NullFC = nullptr;

/// An untyped handle. Handles own their container together: it dies with its last handle, and
/// its id becomes free. Handles are not thread-safe; the scene graph belongs to the GUI thread.
class MK_HOST_API FieldContainerPtr
{
public:
    /// While set, whoever ends an edit of a container's fields does not announce it to the
    /// container. The host's own operations announce what they change all the same.
    static bool _ignore_change;

    FieldContainerPtr() = default;
    FieldContainerPtr(std::nullptr_t) {}
    explicit FieldContainerPtr(FieldContainer *container);
    FieldContainerPtr(const FieldContainerPtr &other);
    FieldContainerPtr(FieldContainerPtr &&other) noexcept
        : container(std::exchange(other.container, nullptr))
    {}
    FieldContainerPtr &operator=(FieldContainerPtr other) noexcept
    {
        std::swap(container, other.container);
        return *this;
    }
    ~FieldContainerPtr();

    FieldContainer *get() const { return container; }
    FieldContainer *operator->() const { return container; }
    FieldContainer &operator*() const { return *container; }
    explicit operator bool() const { return container != nullptr; }
    /// True when no other handle holds the container.
    bool isLastHandle() const;

    friend bool operator==(const FieldContainerPtr &a, const FieldContainerPtr &b)
    {
        return a.container == b.container;
    }
    friend bool operator!=(const FieldContainerPtr &a, const FieldContainerPtr &b)
    {
        return a.container != b.container;
    }

private:
    FieldContainer *container = nullptr;
};

/// Base of everything in the scene graph. Each container has an id, unique while it lives and
/// never 0; ids are used again, the lowest free one first.
class MK_HOST_API FieldContainer
{
public:
    static const FieldContainerType _type;

    FieldContainer(const FieldContainer &) = delete;
    FieldContainer &operator=(const FieldContainer &) = delete;

    virtual const FieldContainerType &getType() const = 0;
    std::uint32_t getId() const { return id; }
    /// A short text for diagnostics: the name where there is one, else the type's name.
    virtual std::string describe() const;
    /// Shows `visitor` every field that scene files keep, those of the base class first. Each
    /// class that adds fields does so here; after reading it checks that values fit each other.
    virtual void visitFields(FieldVisitor &visitor);
    /// Tells the observers that fields changed.
    void changed(BitVector which, ChangeOrigin origin);

protected:
    FieldContainer();
    virtual ~FieldContainer();

    /// Gives a field a value and announces the change, if it is one.
    template <typename Value>
    void assign(Value &field, const Value &value, const BitVector &which)
    {
        if (field != value) {
            field = value;
            changed(which, ChangeOrigin::External);
        }
    }

private:
    friend class FieldContainerPtr;
    void release();

    std::uint32_t id;
    std::uint32_t references = 0;
};

inline FieldContainerPtr::FieldContainerPtr(FieldContainer *newContainer)
    : container(newContainer)
{
    if (container) {
        ++container->references;
    }
}

inline FieldContainerPtr::FieldContainerPtr(const FieldContainerPtr &other)
    : FieldContainerPtr(other.container)
{}

inline bool FieldContainerPtr::isLastHandle() const
{
    return container && container->references == 1;
}

inline FieldContainerPtr::~FieldContainerPtr()
{
    if (container && --container->references == 0) {
        container->release();
    }
}

/// A handle of a given container class. Handles of derived classes convert to it by themselves;
/// every other conversion tests the container's type and gives null when it does not fit.
template <typename Container>
class Ptr : public FieldContainerPtr
{
public:
    Ptr() = default;
    Ptr(std::nullptr_t) {}
    explicit Ptr(Container *target)
        : FieldContainerPtr(target)
    {}
    template <typename Derived,
              typename = std::enable_if_t<
                  std::is_base_of_v<Container, Derived> && !std::is_same_v<Container, Derived>>>
    Ptr(const Ptr<Derived> &other)
        : FieldContainerPtr(other)
    {}
    explicit Ptr(const FieldContainerPtr &other)
        : FieldContainerPtr(other && other->getType().isDerivedFrom(Container::_type) ? other.get()
                                                                                      : nullptr)
    {}

    Container *get() const { return static_cast<Container *>(FieldContainerPtr::get()); }
    Container *operator->() const { return get(); }
    Container &operator*() const { return *get(); }
};

/// A type's factory, where the class has a create() without arguments.
template <typename Container>
FieldContainerPtr makeContainer()
{
    return Container::create();
}

/// Finds containers by id.
class MK_HOST_API FieldContainerFactory
{
public:
    static FieldContainerFactory *the();

    /// The container of this id, in constant time; null for 0, a free id or one never given out.
    FieldContainerPtr getContainer(std::uint32_t id) const;
    /// Number of living containers.
    std::size_t size() const;

private:
    FieldContainerFactory() = default;
};

/// Hears of every change that containers announce, from construction to destruction.
class MK_HOST_API ChangeObserver
{
public:
    ChangeObserver(const ChangeObserver &) = delete;
    ChangeObserver &operator=(const ChangeObserver &) = delete;

    virtual void containerChanged(const FieldContainerPtr &container, const BitVector &which,
                                  ChangeOrigin origin) = 0;

protected:
    ChangeObserver();
    virtual ~ChangeObserver();
};

MK_HOST_API QString traceText(const FieldContainerPtr &container);
inline QString traceText(ChangeOrigin origin)
{
    return origin == ChangeOrigin::External ? QStringLiteral("External")
                                            : QStringLiteral("Internal");
}

} // namespace osg
