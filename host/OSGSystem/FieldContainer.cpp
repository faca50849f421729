#include "OSGSystem/FieldContainer.h"

#include "OSGSystem/Revision.h"
#include "mkUtils/mkTrace.h"

#include <algorithm>
#include <queue>
#include <unordered_map>
#include <vector>

namespace osg {

namespace {

/// The id table. Slot 0 is never given out, so that id 0 can mean none.
struct Containers
{
    std::vector<FieldContainer *> slots{ nullptr };
    std::priority_queue<std::uint32_t, std::vector<std::uint32_t>, std::greater<>> freeIds;

    // Never destroyed: handles held by static objects outlive any order of destruction.
    static Containers &the()
    {
        static auto *const containers = new Containers;
        return *containers;
    }

    std::uint32_t enter(FieldContainer *container)
    {
        if (freeIds.empty()) {
            slots.push_back(container);
            return std::uint32_t(slots.size() - 1);
        }
        const std::uint32_t id = freeIds.top();
        freeIds.pop();
        slots[id] = container;
        return id;
    }

    void remove(std::uint32_t id)
    {
        slots[id] = nullptr;
        freeIds.push(id);
    }
};

std::vector<ChangeObserver *> &observers()
{
    static std::vector<ChangeObserver *> all;
    return all;
}

std::unordered_map<std::string, const FieldContainerType *> &typesOfName()
{
    static std::unordered_map<std::string, const FieldContainerType *> all;
    return all;
}

} // namespace

FieldContainerType::FieldContainerType(const char *typeName, const FieldContainerType *parentType,
                                       Group typeGroup)
    : name(typeName)
    , parent(parentType)
    , group(typeGroup)
{
    static std::uint32_t lastId = 0;
    id = ++lastId;
}

FieldContainerType::FieldContainerType(const char *typeName, const FieldContainerType *parentType,
                                       Factory typeFactory, Group typeGroup)
    : FieldContainerType(typeName, parentType, typeGroup)
{
    factory = typeFactory;
    typesOfName().emplace(typeName, this);
}

FieldContainerType::~FieldContainerType()
{
    const auto found = typesOfName().find(name);
    if (found != typesOfName().end() && found->second == this) {
        typesOfName().erase(found);
    }
}

const FieldContainerType *FieldContainerType::find(const std::string &name)
{
    const auto found = typesOfName().find(name);
    return found == typesOfName().end() ? nullptr : found->second;
}

FieldContainerPtr FieldContainerType::create() const
{
    return factory();
}

std::uint32_t FieldContainerType::getGroupId() const
{
    return group == Group::Own || !parent ? id : parent->getGroupId();
}

bool FieldContainerType::isDerivedFrom(const FieldContainerType &other) const
{
    for (const FieldContainerType *type = this; type; type = type->parent) {
        if (type == &other) {
            return true;
        }
    }
    return false;
}

bool FieldContainerPtr::_ignore_change = false;

const FieldContainerType FieldContainer::_type("FieldContainer", nullptr);

FieldContainer::FieldContainer()
    : id(Containers::the().enter(this))
{}

FieldContainer::~FieldContainer() = default;

void FieldContainer::release()
{
    // The id goes first, so that nobody finds a container that is being destroyed.
    Containers::the().remove(id);
    delete this;
}

std::string FieldContainer::describe() const
{
    return getType().getName();
}

void FieldContainer::visitFields(FieldVisitor &) {}

void FieldContainer::changed(BitVector which, ChangeOrigin origin)
{
    Revision::advance();
    const FieldContainerPtr self(this);
    mkTrace::call("FieldContainer::changed", self, which, origin);
    // A copy: observers may come and go while they are told.
    const auto current = observers();
    for (ChangeObserver *observer : current) {
        const auto &all = observers();
        if (std::find(all.begin(), all.end(), observer) != all.end()) {
            observer->containerChanged(self, which, origin);
        }
    }
}

FieldContainerFactory *FieldContainerFactory::the()
{
    static FieldContainerFactory factory;
    return &factory;
}

FieldContainerPtr FieldContainerFactory::getContainer(std::uint32_t id) const
{
    const auto &slots = Containers::the().slots;
    return id < slots.size() ? FieldContainerPtr(slots[id]) : FieldContainerPtr();
}

std::size_t FieldContainerFactory::size() const
{
    const Containers &containers = Containers::the();
    return containers.slots.size() - 1 - containers.freeIds.size();
}

ChangeObserver::ChangeObserver()
{
    observers().push_back(this);
}

ChangeObserver::~ChangeObserver()
{
    auto &all = observers();
    all.erase(std::remove(all.begin(), all.end(), this), all.end());
}

QString traceText(const FieldContainerPtr &container)
{
    return container ? QString::fromStdString(container->describe()) : QStringLiteral("null");
}

} // namespace osg
