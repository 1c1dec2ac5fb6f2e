// Private: which instruction set the kernels run with. The choice is made once, at the first use,
// by what the processor and the system support.
#pragma once

namespace vorlane {

enum class InstructionSet { baseline, avx2, avx512 };

bool is_supported(InstructionSet set);

// The set that the kernels use now: the widest that the machine supports, unless one was forced.
InstructionSet active_instruction_set();

// For tests and benchmarks: uses `set` from now on. False, and no change, if the machine lacks it.
bool force_instruction_set(InstructionSet set);

// Picks the table of kernels of the active set. A kernel table is a constant in the namespace of
// each set.
template<class Kernels>
const Kernels& pick_kernels(const Kernels& baseline, [[maybe_unused]] const Kernels& avx2,
                            [[maybe_unused]] const Kernels& avx512) {
    switch (active_instruction_set()) {
    case InstructionSet::avx512:
        return avx512;
    case InstructionSet::avx2:
        return avx2;
    default:
        return baseline;
    }
}

} // namespace vorlane

// Declares the table of kernels `name` of the type `type` for every instruction set, and the
// function `pick_name()` that returns the active one.
#if defined(VORLANE_X86)
#define VORLANE_DECLARE_KERNELS(type, name)                                                        \
    namespace baseline {                                                                           \
    extern const type name;                                                                        \
    }                                                                                              \
    namespace avx2 {                                                                               \
    extern const type name;                                                                        \
    }                                                                                              \
    namespace avx512 {                                                                             \
    extern const type name;                                                                        \
    }                                                                                              \
    inline const type& pick_##name() {                                                             \
        return pick_kernels(baseline::name, avx2::name, avx512::name);                             \
    }
#else
#define VORLANE_DECLARE_KERNELS(type, name)                                                        \
    namespace baseline {                                                                           \
    extern const type name;                                                                        \
    }                                                                                              \
    inline const type& pick_##name() {                                                             \
        return baseline::name;                                                                     \
    }
#endif
