// Arithmetic as a host may have set it: rounding upward, and subnormal numbers to zero.
#pragma once

#include <cfenv>
#include <cstdint>

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

class HostMode {
public:
    explicit HostMode(bool is_odd) {
        std::fegetenv(&before_);
#if defined(__SSE2__)
        vectors_before_ = _mm_getcsr();
#endif
        if (!is_odd)
            return;
        std::fesetround(FE_UPWARD);
#if defined(__SSE2__)
        _mm_setcsr(_mm_getcsr() | 0x8040);
#elif defined(__aarch64__)
        std::uint64_t mode;
        asm volatile("mrs %0, fpcr" : "=r"(mode));
        mode |= std::uint64_t{1} << 24;
        asm volatile("msr fpcr, %0" : : "r"(mode));
#endif
    }
    ~HostMode() {
        std::fesetenv(&before_);
#if defined(__SSE2__)
        _mm_setcsr(vectors_before_); // not every C library's environment has it
#endif
    }
    HostMode(const HostMode&) = delete;
    HostMode& operator=(const HostMode&) = delete;

private:
    std::fenv_t before_;
#if defined(__SSE2__)
    unsigned vectors_before_;
#endif
};
