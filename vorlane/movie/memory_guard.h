// Private: what the operations of movies give when there is no memory.
#pragma once

#include <new>
#include <stdexcept>

namespace vorlane {

// What call() returns, or `otherwise` if there was no memory for it.
template<class Result, class Call>
Result unless_out_of_memory(Result otherwise, Call call) {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return otherwise;
    } catch (const std::length_error&) {
        return otherwise;
    }
}

} // namespace vorlane
