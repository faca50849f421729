#pragma once

#include "mkHostExport.h"

#include <any>
#include <cstdint>
#include <map>
#include <string>
#include <typeinfo>

/// A message from the host to its modules: an id for the message hook of modules, a name for
/// subscribers, and attributes, each a value of any copyable type under a name.
class MK_HOST_API mkMessage
{
public:
    /// Ids that the message hook of modules receives. Each is one bit, so that a module's flags
    /// can name the messages it wants (mkModuleBase).
    enum Id : std::uint64_t {
        NoId = 0,
        SceneLoaded = 16,    ///< another scene, read from a file or new, replaced the open one
        SceneMerged = 32768, ///< a file was read into the open scene
    };

    explicit mkMessage(std::string name, std::uint64_t id = NoId);

    std::uint64_t id() const { return messageId; }
    const std::string &name() const { return messageName; }

    template <typename T>
    void set(const std::string &attribute, const T &value)
    {
        attributes[attribute] = value;
    }

    /// Copies the attribute `attribute` into `value` and returns true. Without such an attribute
    /// it returns false; with one of another type it says so on standard error, prints a
    /// backtrace and returns false. `value` is left alone then.
    template <typename T>
    bool get(const std::string &attribute, T &value) const
    {
        const auto found = attributes.find(attribute);
        if (found == attributes.end()) {
            return false;
        }
        if (const T *held = std::any_cast<T>(&found->second)) {
            value = *held;
            return true;
        }
        reportWrongType(attribute, found->second.type(), typeid(T));
        return false;
    }

    /// Prints the calling thread's stack on standard error.
    static void printBT();

private:
    static void reportWrongType(const std::string &attribute, const std::type_info &held,
                                const std::type_info &requested);

    std::string messageName;
    std::uint64_t messageId;
    std::map<std::string, std::any> attributes;
};
