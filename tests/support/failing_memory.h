// A shortage of memory at every possible request. Only the program test_memory has it: it stands in
// for the allocation functions there.
#pragma once

#include <cstddef>
#include <exception>
#include <string>

#include <gtest/gtest.h>

// Counts requests and blocks, and lets a request fail. One at a time, for the thread that makes it.
class FailingMemory {
public:
    FailingMemory();
    ~FailingMemory();
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;

    // From now on request `number`, from 0, fails, and with `and_later` all that follow it.
    void arm(long number, bool and_later);
    void disarm();

    bool has_failed() const;
    long blocks() const; // that have been made since it lives, less those that have been released
    std::size_t largest_request() const; // in bytes
};

// Runs `work` on what `prepare` makes, a std::unique_ptr, again and again; in run n request n of
// `work` fails, alone or with all later ones, until a run asks for nothing more. Nothing may be
// thrown, and nothing of a run may be left. `check` looks at the object after each run that failed.
template<class Prepare, class Work, class Check>
void with_each_request_failing(Prepare prepare, Work work, Check check) {
    for (const bool and_later : {false, true}) {
        bool has_failed = true;
        for (long n = 0; has_failed; ++n) {
            SCOPED_TRACE("request " + std::to_string(n) + (and_later ? " and later" : ""));
            FailingMemory memory;
            {
                const auto object = prepare();
                memory.arm(n, and_later);
                try {
                    work(*object);
                    memory.disarm();
                } catch (const std::exception& thrown) {
                    memory.disarm();
                    ADD_FAILURE() << thrown.what();
                }
                if (memory.has_failed())
                    check(*object);
            }
            has_failed = memory.has_failed();
            ASSERT_EQ(memory.blocks(), 0);
        }
    }
}
template<class Prepare, class Work>
void with_each_request_failing(Prepare prepare, Work work) {
    with_each_request_failing(prepare, work, [](const auto&) {});
}
