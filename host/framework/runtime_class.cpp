#include "host/framework/runtime_class.h"

#include "host/framework/base_views.h"

RuntimeClassRegistry& RuntimeClassRegistry::instance() {
    static RuntimeClassRegistry registry;
    return registry;
}

void RuntimeClassRegistry::add(const CRuntimeClass* runtimeClass) {
    if (runtimeClass != nullptr) {
        m_classes[runtimeClass->m_lpszClassName] = runtimeClass;
    }
}

const CRuntimeClass* RuntimeClassRegistry::find(const std::string& className) const {
    const auto it = m_classes.find(className);
    return it == m_classes.end() ? nullptr : it->second;
}

std::unique_ptr<TRVVirtualBaseView> RuntimeClassRegistry::create(const std::string& className) const {
    const CRuntimeClass* runtimeClass = find(className);
    return runtimeClass == nullptr ? nullptr : runtimeClass->CreateObject();
}

std::vector<std::string> RuntimeClassRegistry::classNames() const {
    std::vector<std::string> names;
    for (const auto& [name, cls] : m_classes) {
        names.push_back(name);
    }
    return names;
}
