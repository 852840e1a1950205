// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/Export.h>

#include <cstdint>
#include <functional>
#include <typeindex>

namespace Veltrand::GL {

/// The registry behind `InstanceManager<T>`, which is what classes derive from.
class VELTRAND_GL_API InstanceManagerBase : private Utils::NotCopyable {
public:
    virtual ~InstanceManagerBase() = default;

    /// The instance of @p type for the calling thread's current context, made by @p createFunc if there is
    /// none yet. Throws `std::logic_error` when called from the constructor or destructor of an instance.
    [[nodiscard]] static InstanceManagerBase* lookup(const std::type_index& type,
                                                     InstanceManagerBase* (*createFunc)());

    /// Destroys every instance of the current context.
    static void deinitCurrent();
    /// Sets the instances of a context aside that is about to go but cannot be made current. Its handle may
    /// be given out again; they are destroyed by `deinitAll`.
    static void setAside(std::uintptr_t context);
    /// Destroys every instance of every context; a context of the same share group must be current.
    static void deinitAll();
    /// The same, without the instances of those contexts which @p isKept names.
    static void deinitAllExcept(const std::function<bool(std::uintptr_t context)>& isKept);

    /// Whether the calling thread is inside the constructor or destructor of an instance, where `get()` is
    /// not allowed.
    [[nodiscard]] static bool isInsideInstance();
};

/// Gives `T` one object per OpenGL context, made on first use in that context and destroyed with it.
///
///     class LineRenderer : public InstanceManager<LineRenderer> { public: LineRenderer(); ... };
///     LineRenderer::get()->draw(...);
///
/// `get()` may be called from any thread; the object itself belongs to the threads on which its context is
/// current. Neither a constructor nor a destructor of such a class may call `get()`, which throws
/// `std::logic_error`, or create a context, or wait for another thread that does either. Without a current
/// context the object lives until `GL::deinit`.
template<class T>
class InstanceManager : protected InstanceManagerBase {
public:
    /// Cheap enough to be called at each use; the pointer is not kept across contexts.
    [[nodiscard]] static T* get() {
        return static_cast<T*>(static_cast<InstanceManager*>(lookup(typeid(T), &createFunc)));
    }

private:
    static InstanceManagerBase* createFunc() {
        InstanceManager* const instance = new T();
        return instance;
    }
};

} // namespace Veltrand::GL
