#include <support/failing_stream.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include <gtest/gtest.h>

#ifdef __GLIBC__

namespace {

struct Rest {
    std::string bytes;
    std::size_t at = 0;
};

ssize_t read_rest(void* cookie, char* to, std::size_t count) {
    auto& rest = *static_cast<Rest*>(cookie);
    if (rest.at == rest.bytes.size()) {
        errno = EIO;
        return -1;
    }
    count = rest.bytes.copy(to, count, rest.at);
    rest.at += count;
    return static_cast<ssize_t>(count);
}

int drop_rest(void* cookie) {
    delete static_cast<Rest*>(cookie);
    return 0;
}

} // namespace

vorlane::FileHandle failing_stream(const std::string& bytes) {
    auto rest = std::make_unique<Rest>(Rest{bytes});
    vorlane::FileHandle stream(
        fopencookie(rest.get(), "rb", {read_rest, nullptr, nullptr, drop_rest}));
    rest.release();
    return stream;
}

#else

vorlane::FileHandle failing_stream(const std::string&) {
    return nullptr;
}

#endif
