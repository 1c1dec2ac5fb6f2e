#include <vorlane/simd/instruction_set.h>

#include <atomic>

namespace vorlane {

namespace {

InstructionSet widest_supported() {
    for (const InstructionSet set : {InstructionSet::avx512, InstructionSet::avx2}) {
        if (is_supported(set))
            return set;
    }
    return InstructionSet::baseline;
}

std::atomic<InstructionSet>& active() {
    static std::atomic<InstructionSet> set{widest_supported()};
    return set;
}

} // namespace

bool is_supported(InstructionSet set) {
#if defined(VORLANE_X86)
    switch (set) {
    case InstructionSet::avx512:
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
               __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
               is_supported(InstructionSet::avx2);
    case InstructionSet::avx2:
        return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    default:
        return true;
    }
#else
    return set == InstructionSet::baseline;
#endif
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
