// A thread that works on the latest request. A newer one replaces the one that waits, and outdates the one that
// runs, whose result is dropped.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace vorlane::viewer {

// Thrown out of work that nobody waits for any more.
struct Outdated {};

template<class Result>
class Worker {
public:
    // Work calls `check` now and then, which throws Outdated.
    using Work = std::function<Result(const std::function<void()>& check)>;

    // `wake` is called on the worker's thread when there is a result.
    explicit Worker(std::function<void()> wake)
        : wake_(std::move(wake)), thread_([this] { run(); }) {}
    ~Worker() {
        {
            const std::lock_guard lock(mutex_);
            ends_ = true;
            ++latest_;
        }
        changed_.notify_one();
        thread_.join();
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void post(Work work) {
        {
            const std::lock_guard lock(mutex_);
            waiting_ = std::move(work);
            result_.reset();
            ++latest_;
        }
        changed_.notify_one();
    }

    // Drops what waits and runs.
    void cancel() {
        const std::lock_guard lock(mutex_);
        waiting_ = nullptr;
        result_.reset();
        ++latest_;
    }

    bool is_busy() const {
        const std::lock_guard lock(mutex_);
        return waiting_ || runs_;
    }

    // The latest result, once.
    std::optional<Result> take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(result_, std::nullopt);
    }

private:
    void run() {
        std::unique_lock lock(mutex_);
        while (true) {
            changed_.wait(lock, [this] { return ends_ || waiting_; });
            if (ends_)
                return;
            const Work work = std::exchange(waiting_, nullptr);
            const long number = latest_;
            runs_ = true;
            lock.unlock();
            std::optional<Result> result;
            try {
                result = work([&] {
                    const std::lock_guard check(mutex_);
                    if (number != latest_)
                        throw Outdated();
                });
            } catch (const Outdated&) {
            }
            lock.lock();
            runs_ = false;
            if (result && number == latest_)
                result_ = std::move(result);
            lock.unlock();
            wake_();
            lock.lock();
        }
    }

    std::function<void()> wake_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    Work waiting_;
    std::optional<Result> result_;
    long latest_ = 0;
    bool runs_ = false;
    bool ends_ = false;
    std::thread thread_;
};

} // namespace vorlane::viewer
