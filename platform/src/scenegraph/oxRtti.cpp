#include "scenegraph/oxRtti.h"

#include <map>
#include <mutex>

namespace ox {

bool oxRtti::IsDerived(const oxRtti& type) const
{
    for (const oxRtti* current = this; current != nullptr; current = current->m_parent) {
        if (current == &type) {
            return true;
        }
    }
    return false;
}

oxRttiInterface::~oxRttiInterface() = default;

namespace {

/// The factory table and the mutex that guards it. Function-local statics so that registration
/// from static initialisers of other translation units finds them constructed.
struct FactoryTable {
    std::mutex mutex;
    std::map<std::string, oxRttiInterface::FactoryFunction> factories;
};

FactoryTable& factoryTable()
{
    static FactoryTable table;
    return table;
}

}  // namespace

bool oxRttiInterface::RegisterFactoryFunction(const std::string& name, FactoryFunction factory)
{
    if (name.empty() || factory == nullptr) {
        return false;
    }
    FactoryTable& table = factoryTable();
    std::lock_guard<std::mutex> lock(table.mutex);
    table.factories[name] = factory;
    return true;
}

bool oxRttiInterface::UnregisterFactoryFunction(const std::string& name)
{
    FactoryTable& table = factoryTable();
    std::lock_guard<std::mutex> lock(table.mutex);
    return table.factories.erase(name) > 0;
}

oxRttiInterface::FactoryFunction oxRttiInterface::FindFactoryFunction(const std::string& name)
{
    FactoryTable& table = factoryTable();
    std::lock_guard<std::mutex> lock(table.mutex);
    const auto found = table.factories.find(name);
    return found == table.factories.end() ? nullptr : found->second;
}

}  // namespace ox
