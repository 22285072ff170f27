#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

class TRVVirtualBaseView;

// A view class the host can create by name.
struct CRuntimeClass {
    const char* m_lpszClassName;
    std::unique_ptr<TRVVirtualBaseView> (*m_pfnCreateObject)();

    std::unique_ptr<TRVVirtualBaseView> CreateObject() const { return m_pfnCreateObject(); }
};

// Run-time class registry: the host creates views by class name.
// Thread: UI thread. Ownership: class records are static; created views belong to the caller.
class RuntimeClassRegistry {
public:
    static RuntimeClassRegistry& instance();

    void add(const CRuntimeClass* runtimeClass);
    const CRuntimeClass* find(const std::string& className) const;
    // Null when no class of that name is registered.
    std::unique_ptr<TRVVirtualBaseView> create(const std::string& className) const;
    std::vector<std::string> classNames() const;

private:
    std::map<std::string, const CRuntimeClass*> m_classes;
};

// Declares the run-time class of a view (inside the class body) and defines it (in its .cpp).
#define NEWS_DECLARE_DYNCREATE(cls)                                                                                    \
public:                                                                                                                \
    static const CRuntimeClass* GetThisClass();                                                                        \
    const CRuntimeClass* GetRuntimeClass() const override;

#define NEWS_IMPLEMENT_DYNCREATE(cls)                                                                                  \
    const CRuntimeClass* cls::GetThisClass() {                                                                         \
        static const CRuntimeClass runtimeClass{                                                                       \
            #cls, []() -> std::unique_ptr<TRVVirtualBaseView> { return std::make_unique<cls>(); }};                    \
        return &runtimeClass;                                                                                          \
    }                                                                                                                  \
    const CRuntimeClass* cls::GetRuntimeClass() const {                                                                \
        return GetThisClass();                                                                                         \
    }
