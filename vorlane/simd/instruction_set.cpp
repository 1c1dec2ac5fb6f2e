#include <vorlane/simd/instruction_set.h>

#include <atomic>

namespace vorlane {

namespace {

InstructionSet widest_supported() {
    InstructionSet widest = InstructionSet::plain;
    for (const InstructionSet set : instruction_sets) {
        if (is_supported(set))
            widest = set;
    }
    return widest;
}

// The initialisation of a static in a function waits for the thread that is at it.
std::atomic<InstructionSet>& active() {
    static std::atomic<InstructionSet> set{widest_supported()};
    return set;
}

} // namespace

bool is_supported(InstructionSet set) {
#if defined(__x86_64__) || defined(__i386__)
    switch (set) {
    case InstructionSet::avx512:
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
               __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
               is_supported(InstructionSet::avx2);
    case InstructionSet::avx2:
        return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
               __builtin_cpu_supports("bmi2");
    case InstructionSet::sse2:
        return __builtin_cpu_supports("sse2");
    case InstructionSet::plain:
        break;
    }
#else
    static_cast<void>(set);
#endif
    return true;
}

InstructionSet active_instruction_set() {
    return active().load(std::memory_order_relaxed);
}

bool force_instruction_set(InstructionSet set) {
    if (!is_supported(set))
        return false;
    active().store(set, std::memory_order_relaxed);
    return true;
}

} // namespace vorlane
