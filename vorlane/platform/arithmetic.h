// Private: arithmetic as IEEE 754 has it by default, whatever a host has set its processor to.
#pragma once

#include <atomic>
#include <cstdint>

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

namespace vorlane {

// While one of these lives, its thread rounds to nearest and keeps subnormal numbers; the host's
// own setting comes back after it. Costs a few cycles where nothing is to be changed.
class DefaultArithmetic {
public:
    DefaultArithmetic() : before_(read()) {
        if ((before_ & modes) != 0)
            change_to(before_ & ~modes);
    }
    ~DefaultArithmetic() {
        if ((before_ & modes) != 0)
            change_to(before_);
    }
    DefaultArithmetic(const DefaultArithmetic&) = delete;
    DefaultArithmetic& operator=(const DefaultArithmetic&) = delete;

private:
#if defined(__SSE2__)
    using Register = unsigned;
    // Flush to zero, both bits of the rounding mode, subnormal operands as zeros.
    static constexpr Register modes = 0x8000 | 0x6000 | 0x0040;
    static Register read() {
        return _mm_getcsr();
    }
    static void write(Register value) {
        _mm_setcsr(value);
    }
#elif defined(__aarch64__)
    using Register = std::uint64_t;
    // Default not-a-number, flush to zero, both bits of the rounding mode.
    static constexpr Register modes = Register{0xF} << 22;
    static Register read() {
        Register value;
        asm volatile("mrs %0, fpcr" : "=r"(value));
        return value;
    }
    static void write(Register value) {
        asm volatile("msr fpcr, %0" : : "r"(value) : "memory");
    }
#else
    using Register = unsigned;
    static constexpr Register modes = 0;
    static Register read() {
        return 0;
    }
    static void write(Register) {}
#endif

    // Compilers move arithmetic past the change of a register, but not what goes to memory.
    static void change_to(Register value) {
        std::atomic_signal_fence(std::memory_order_seq_cst);
        write(value);
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }

    Register before_;
};

} // namespace vorlane
