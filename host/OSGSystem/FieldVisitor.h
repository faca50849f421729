#pragma once

#include "OSGSystem/FieldContainer.h"

#include <QByteArray>

#include <algorithm>
#include <array>
#include <string>
#include <type_traits>
#include <vector>

namespace osg {

/// Walks over the fields of a container: to write them, to give them values from a file, or just
/// to follow its handles. A container class names its fields once, in visitFields(), and that is
/// all that scene files know of it. Names and their order are part of the file format: new fields
/// may stand anywhere, but those that are there keep their names and their order.
class MK_HOST_API FieldVisitor
{
public:
    FieldVisitor(const FieldVisitor &) = delete;
    FieldVisitor &operator=(const FieldVisitor &) = delete;

    /// True when fields get values. One that the file lacks keeps the value that it has.
    virtual bool isReading() const { return false; }
    /// Ends reading, or writing, of a container whose values do not fit each other.
    [[noreturn]] virtual void refuse() = 0;

    virtual void field(const char *name, std::uint32_t &value) = 0;
    virtual void field(const char *name, bool &value) = 0;
    virtual void field(const char *name, float &value) = 0;
    virtual void field(const char *name, std::string &value) = 0;
    virtual void field(const char *name, std::vector<std::string> &values) = 0;
    virtual void field(const char *name, QByteArray &value) = 0;
    /// Ids of containers of `type` that are kept as numbers. Those read are the ids in the file;
    /// an id of no such container is written as 0.
    virtual void ids(const char *name, std::vector<std::uint32_t> &values,
                     const FieldContainerType &type) = 0;

    /// An enumerator; one behind `last`, of a newer version, is passed over.
    template <typename Enum>
    void field(const char *name, Enum &value, Enum last)
    {
        auto number = std::uint32_t(value);
        field(name, number);
        value = number <= std::uint32_t(last) ? Enum(number) : value;
    }

    /// A number that is taken to the nearest bound when it is read.
    void field(const char *name, float &value, float lowest, float highest)
    {
        field(name, value);
        value = bounded(value, lowest, highest);
    }

    template <std::size_t size>
    void field(const char *name, std::array<float, size> &values, float lowest, float highest)
    {
        field(name, values);
        for (float &value : values) {
            value = bounded(value, lowest, highest);
        }
    }

    template <std::size_t size>
    void field(const char *name, std::array<float, size> &values)
    {
        QByteArray bytes = isReading() ? QByteArray() : packed(values.data(), sizeof(values));
        if (block(name, bytes)) {
            unpack(bytes, values.data(), sizeof(values));
        }
    }

    /// A list of numbers, or of fixed counts of numbers, of four bytes each.
    template <typename Element,
              typename = std::enable_if_t<
                  std::is_trivially_copyable_v<Element> && sizeof(Element) % 4 == 0>>
    void field(const char *name, std::vector<Element> &values)
    {
        QByteArray bytes = isReading() ? QByteArray()
                                       : packed(values.data(), values.size() * sizeof(Element));
        if (block(name, bytes)) {
            values.resize(std::size_t(bytes.size()) / sizeof(Element));
            unpack(bytes, values.data(), values.size() * sizeof(Element));
        }
    }

    template <typename Container>
    void field(const char *name, Ptr<Container> &value)
    {
        handle(name, value, Container::_type);
    }

    template <typename Container>
    void field(const char *name, std::vector<Ptr<Container>> &values)
    {
        std::vector<FieldContainerPtr> all(values.begin(), values.end());
        handles(name, all, Container::_type);
        if (isReading()) {
            values.clear();
            for (const FieldContainerPtr &one : all) {
                values.emplace_back(Ptr<Container>(one));
            }
        }
    }

    /// Handles of any containers, null among them.
    void field(const char *name, std::vector<FieldContainerPtr> &values)
    {
        handles(name, values, FieldContainer::_type);
    }

protected:
    FieldVisitor() = default;
    virtual ~FieldVisitor() = default;

    /// Numbers as they stand in a file. True when `bytes` were replaced by those of the file.
    virtual bool block(const char *name, QByteArray &bytes) = 0;
    /// What is read is null or of `type`.
    virtual void handle(const char *name, FieldContainerPtr &value,
                        const FieldContainerType &type) = 0;
    virtual void handles(const char *name, std::vector<FieldContainerPtr> &values,
                         const FieldContainerType &type) = 0;

private:
    /// NaN ends at the lower bound.
    static float bounded(float value, float lowest, float highest)
    {
        return std::min(std::max(lowest, value), highest);
    }
    QByteArray packed(const void *numbers, std::size_t size);
    void unpack(const QByteArray &bytes, void *numbers, std::size_t size);
};

} // namespace osg
