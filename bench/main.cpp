// The main program of every benchmark: Google Benchmark's, with --instruction_set=NAME to run the kernels of that
// set instead of the widest that the machine has.

#include <cstdio>
#include <string_view>

#include <benchmark/benchmark.h>

#include <vorlane/simd/instruction_set.h>

namespace {

using namespace vorlane;

#define SET_NAME(set, ...) #set,
constexpr const char* names[] = {VORLANE_EACH_SET(SET_NAME, )};

// False if there is no such set, here or on this machine.
bool force(std::string_view name) {
    for (const InstructionSet set : instruction_sets) {
        if (name == names[static_cast<int>(set)])
            return force_instruction_set(set);
    }
    return false;
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    constexpr std::string_view option = "--instruction_set=";
    for (int k = 1; k < argc; ++k) {
        const std::string_view argument = argv[k];
        if (!argument.starts_with(option) || !force(argument.substr(option.size()))) {
            std::fprintf(stderr, "%s: not an option, or not a set of this machine\n", argv[k]);
            return 1;
        }
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
