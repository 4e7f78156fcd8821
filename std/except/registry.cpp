#include "std/except/registry.h"

#include "std/except/devenv.h"
#include "std/util/assert.h"

#include <map>
#include <memory>
#include <mutex>
#include <typeindex>
#include <unordered_map>

#if defined(__GNUC__) || defined(__clang__)
#include <cxxabi.h>
#endif

void yf_RegisterLibraryClasses(yc_TypeRegistry& registry);

namespace {
constexpr const char* kSourceName = ycSource::archive;
}

struct yc_TypeRegistry::Tables {
    mutable std::recursive_mutex lock;
    std::map<std::string, std::pair<std::type_index, ycFactory>, std::less<>> byName;
    std::unordered_map<std::type_index, std::string> byType;
};

yc_TypeRegistry::yc_TypeRegistry() : tables_(new Tables) {}

yc_TypeRegistry& yc_TypeRegistry::instance()
{
    static yc_TypeRegistry* registry = [] {
        auto* r = new yc_TypeRegistry;
        yf_RegisterLibraryClasses(*r);
        return r;
    }();
    return *registry;
}

void yc_TypeRegistry::add(const std::type_info& type, const char* name, ycFactory make)
{
    std::lock_guard<std::recursive_mutex> guard(tables_->lock);
    auto [it, fresh] = tables_->byName.try_emplace(name, std::type_index(type), make);
    if (!fresh) {
        ymAssert(it->second.first == std::type_index(type));
        return;
    }
    tables_->byType.emplace(std::type_index(type), name);
}

std::string yc_TypeRegistry::nameOf(const std::type_info& type) const
{
    std::lock_guard<std::recursive_mutex> guard(tables_->lock);
    auto it = tables_->byType.find(std::type_index(type));
    return it == tables_->byType.end() ? std::string() : it->second;
}

ycFactory yc_TypeRegistry::factory(std::string_view name) const
{
    std::lock_guard<std::recursive_mutex> guard(tables_->lock);
    auto it = tables_->byName.find(name);
    return it == tables_->byName.end() ? nullptr : it->second.second;
}

std::vector<std::string> yc_TypeRegistry::names() const
{
    std::lock_guard<std::recursive_mutex> guard(tables_->lock);
    std::vector<std::string> out;
    for (const auto& entry : tables_->byName) out.push_back(entry.first);
    return out;
}

std::string yfTypeName(const std::type_info& type)
{
    std::string name = yc_TypeRegistry::instance().nameOf(type);
    if (!name.empty()) return name;
#if defined(__GNUC__) || defined(__clang__)
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> demangled(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                     std::free);
    if (status == 0 && demangled) return ycDevEnv::canonicalTypeName(demangled.get());
#endif
    return ycDevEnv::canonicalTypeName(type.name());
}

yc_Instantiator::yc_Instantiator(const std::type_info& type, const char* name, ycFactory factory)
{
    yc_TypeRegistry::instance().add(type, name, factory);
}
