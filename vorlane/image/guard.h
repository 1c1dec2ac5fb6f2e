// Private: where a shortage of memory ends. Private code throws std::bad_alloc; each public entry
// does its work in one guard, and gives null, 0 or "nothing has changed" in its place. The guard
// also stands for arithmetic that doesn't depend on the host's settings.
#pragma once

#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include <vorlane/platform/arithmetic.h>

namespace vorlane {

// Something that owns what it hands out: std::unique_ptr, Plane.
template<class T>
concept Owner = requires(T owner) {
    owner.release();
};

// What `work` gives, an owner as the bare pointer that it hands out; or, where there is no memory
// for it, the zero of that type. All else that `work` throws passes through.
template<class Work>
auto guarded(Work&& work) {
    using Result = std::invoke_result_t<Work>;
    const DefaultArithmetic arithmetic;
    try {
        if constexpr (Owner<Result>)
            return std::forward<Work>(work)().release();
        else
            return std::forward<Work>(work)();
    } catch (const std::bad_alloc&) {
    } catch (const std::length_error&) { // a container that no memory could hold
    }
    if constexpr (Owner<Result>)
        return decltype(std::declval<Result>().release()){};
    else
        return Result();
}

} // namespace vorlane
