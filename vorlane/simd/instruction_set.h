// Private: which instruction set the kernels run with. The choice is made once, at the first use,
// by what the processor and the system support.
#pragma once

// The one list of the sets that kernels are compiled for, from the plainest to the widest: calls
// `what(set, ...)` for each. CMakeLists.txt says how each is compiled. `plain` is C++ without
// vectors; the others give its bits.
#if defined(__x86_64__) || defined(__i386__)
#define VORLANE_EACH_SET(what, ...)                                                                \
    what(plain, __VA_ARGS__) what(sse2, __VA_ARGS__) what(avx2, __VA_ARGS__)                       \
        what(avx512, __VA_ARGS__)
#elif defined(__aarch64__)
#define VORLANE_EACH_SET(what, ...) what(plain, __VA_ARGS__) what(neon, __VA_ARGS__)
#else
#define VORLANE_EACH_SET(what, ...) what(plain, __VA_ARGS__)
#endif

#define VORLANE_SET_NAME(set, ...) set,
#define VORLANE_QUALIFIED_SET_NAME(set, ...) InstructionSet::set,
#define VORLANE_KERNEL_TABLE(set, type, name)                                                      \
    namespace set {                                                                                \
    extern const type name;                                                                        \
    }
#define VORLANE_KERNEL_TABLE_ADDRESS(set, name) &set::name,

namespace vorlane {

enum class InstructionSet { VORLANE_EACH_SET(VORLANE_SET_NAME, ) };

constexpr InstructionSet instruction_sets[] = {VORLANE_EACH_SET(VORLANE_QUALIFIED_SET_NAME, )};

bool is_supported(InstructionSet set);

// The set that the kernels use now: the widest that the machine supports, unless one was forced.
// Several threads may ask at once, also for the first time.
InstructionSet active_instruction_set();

// For tests and benchmarks: uses `set` from now on. False, and no change, if the machine lacks it.
bool force_instruction_set(InstructionSet set);

} // namespace vorlane

// Declares the table of kernels `name` of the type `type`, a constant in the namespace of each set,
// and the function `pick_name()` that returns the active one.
#define VORLANE_DECLARE_KERNELS(type, name)                                                        \
    VORLANE_EACH_SET(VORLANE_KERNEL_TABLE, type, name)                                             \
    inline const type& pick_##name() {                                                             \
        constexpr const type* tables[] = {VORLANE_EACH_SET(VORLANE_KERNEL_TABLE_ADDRESS, name)};   \
        return *tables[static_cast<int>(active_instruction_set())];                                \
    }
