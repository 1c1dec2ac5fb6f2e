// Private: what readers and writers of RIFF files share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vorlane {

// The four letters that name a chunk, as the number that they are on file.
constexpr std::uint32_t chunk_name(const char (&letters)[5]) {
    std::uint32_t name = 0;
    for (int k = 3; k >= 0; --k)
        name = name << 8 | static_cast<unsigned char>(letters[k]);
    return name;
}

template<class Unsigned>
Unsigned get_little(const unsigned char* bytes) {
    Unsigned value = 0;
    for (std::size_t k = sizeof(Unsigned); k-- > 0;)
        value = static_cast<Unsigned>(std::uint64_t{value} << 8 | bytes[k]);
    return value;
}

inline std::uint16_t get16(const unsigned char* bytes) {
    return get_little<std::uint16_t>(bytes);
}
inline std::uint32_t get32(const unsigned char* bytes) {
    return get_little<std::uint32_t>(bytes);
}
inline std::int32_t get_int(const unsigned char* bytes) {
    return static_cast<std::int32_t>(get32(bytes));
}

template<class Unsigned>
void put_little(unsigned char* bytes, Unsigned value) {
    for (std::size_t k = 0; k < sizeof(Unsigned); ++k)
        bytes[k] = static_cast<unsigned char>(value >> 8 * k);
}

// Bytes of chunks, composed in memory.
class RiffBytes {
public:
    void add16(std::uint64_t value) { add(static_cast<std::uint16_t>(value)); }
    void add32(std::uint64_t value) { add(static_cast<std::uint32_t>(value)); }
    void add64(std::uint64_t value) { add(value); }
    void add_zeros(std::size_t count) { bytes_.resize(bytes_.size() + count); }
    void add_bytes(const unsigned char* from, std::size_t count) {
        bytes_.insert(bytes_.end(), from, from + count);
    }

    // Begins a chunk, and returns the mark that `end` takes.
    std::size_t begin(std::uint32_t name) {
        add32(name);
        add32(0);
        return bytes_.size();
    }
    std::size_t begin_list(std::uint32_t name, std::uint32_t type) {
        const std::size_t mark = begin(name);
        add32(type);
        return mark;
    }

    // Ends a chunk: its size is set, and a chunk of odd length filled up by a byte.
    void end(std::size_t mark) {
        set32(mark - 4, bytes_.size() - mark);
        if ((bytes_.size() - mark) % 2 != 0)
            add_zeros(1);
    }

    void set32(std::size_t at, std::uint64_t value) {
        put_little(bytes_.data() + at, static_cast<std::uint32_t>(value));
    }

    const std::vector<unsigned char>& bytes() const { return bytes_; }

private:
    template<class Unsigned>
    void add(Unsigned value) {
        for (std::size_t k = 0; k < sizeof value; ++k)
            bytes_.push_back(static_cast<unsigned char>(value >> 8 * k));
    }

    std::vector<unsigned char> bytes_;
};

} // namespace vorlane
