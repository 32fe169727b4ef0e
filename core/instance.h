#pragma once

#include <atomic>
#include <utility>

// The program's one copy of a class that can be built anywhere else as well: created on first use,
// deleted at a fixed place of the shut-down, made anew by a later use. The first use happens on the
// user-interface thread, the deletion there or while that thread waits for it.
template <typename Class>
class ProcessInstance final
{
public:
    // The arguments are for the first use.
    template <typename... Arguments>
    static Class *get(Arguments &&...arguments)
    {
        Class *object = s_object.load();
        if (!object) {
            object = new Class(std::forward<Arguments>(arguments)...);
            s_object.store(object);
        }
        return object;
    }
    static void destroy() { delete s_object.exchange(nullptr); }

private:
    static inline std::atomic<Class *> s_object{nullptr};
};
