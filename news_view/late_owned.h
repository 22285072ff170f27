#pragma once

#include <memory>
#include <utility>

namespace news {

// Deleter of an object whose class is defined by another part of the module. It is set where
// the class is complete (MakeLateOwned), so a holder needs only the class declaration and an
// empty holder can be destroyed anywhere.
template <class T> struct LateDeleter {
    void (*m_pfnDelete)(T*) = nullptr;
    void operator()(T* object) const {
        if (m_pfnDelete != nullptr) {
            m_pfnDelete(object);
        }
    }
};

template <class T> using LateOwned = std::unique_ptr<T, LateDeleter<T>>;

// Creates an owned object; call it only where T is a complete type.
template <class T, class... Args> LateOwned<T> MakeLateOwned(Args&&... args) {
    return LateOwned<T>(new T(std::forward<Args>(args)...), LateDeleter<T>{[](T* object) { delete object; }});
}

} // namespace news
