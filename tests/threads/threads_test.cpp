// Several threads of a host at once, each with objects of its own. Built with ThreadSanitizer this finds what
// they share by mistake; without, that each gets its own results.

#include <barrier>
#include <cstdint>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <exactness/operators.h>
#include <vorlane/filters/ridges.h>

namespace {

constexpr std::size_t thread_count = 8;

// Runs before any other test of this program, so that the choice of kernels is made here.
TEST(Threads, FirstUseIsForAllOfThem) {
    std::barrier start(thread_count);
    std::vector<std::vector<float>> results(thread_count);
    std::vector<std::thread> threads;
    for (auto& result : results) {
        threads.emplace_back([&start, &result] {
            const ImagePtr image = make_random(40, 50, 0, 1);
            start.arrive_and_wait();
            result = samples_of(*ImagePtr(image->smooth_image(2.0f)));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& result : results)
        EXPECT_TRUE(same_bits(result, results[0]));
}

// Every operator at once, each thread beginning with another one.
TEST(Threads, DontMeetInOperators) {
    SetRidgeProgress([](int, float, void*) {}, nullptr);
    const std::vector<Operator> operators = exact_operators(Extent::brief);
    std::vector<std::vector<std::uint64_t>> sums(thread_count);
    std::barrier start(thread_count);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < thread_count; ++t) {
        threads.emplace_back([&, t] {
            sums[t].resize(operators.size());
            start.arrive_and_wait();
            for (std::size_t k = 0; k < operators.size(); ++k) {
                const std::size_t each =
                    (k + t * operators.size() / thread_count) % operators.size();
                Record record;
                operators[each].run(record);
                sums[t][each] = record.checksum();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& own : sums)
        EXPECT_EQ(own, sums[0]);
}

} // namespace
