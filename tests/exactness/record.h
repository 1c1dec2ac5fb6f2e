// The samples that an operator gives on many inputs, in the order in which they were made, and where each
// input's begin.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include <support/pictures.h>

class Record {
public:
    explicit Record(bool has_odd_host = false) : has_odd_host_(has_odd_host) {}

    // True if operators are to run in an odd HostMode.
    bool has_odd_host() const { return has_odd_host_; }

    // What follows comes of `input`.
    void begin(const std::string& input) { marks_.push_back({samples_.size(), input}); }

    // Numbers count as 32-bit patterns; every not-a-number is the same one.
    void add(float sample) {
        constexpr std::uint32_t not_a_number = 0x7FC00000;
        samples_.push_back(std::isnan(sample) ? not_a_number
                                              : std::bit_cast<std::uint32_t>(sample));
    }
    void add(std::int32_t number) { samples_.push_back(static_cast<std::uint32_t>(number)); }
    void add(const CImage& image) {
        add(image.nrows);
        add(image.ncols);
        add(image.image_type);
        add(image.pixels, image.nrows, image.ncols * channels_of(image));
    }
    // Null counts as a result too.
    void add(const ImagePtr& image) { image ? add(*image) : add(-1); }
    void add(const float* const* plane, int rows, int cols) {
        for (int i = 0; plane && i < rows; ++i)
            for (int j = 0; j < cols; ++j)
                add(plane[i][j]);
    }
    template<class Bytes>
    void add_bytes(const Bytes& bytes) {
        for (const auto byte : bytes)
            add(std::int32_t{static_cast<unsigned char>(byte)});
    }

    const std::vector<std::uint32_t>& samples() const { return samples_; }

    // FNV-1a over 64 bits.
    std::uint64_t checksum() const {
        std::uint64_t sum = 0xCBF29CE484222325;
        for (std::uint32_t sample : samples_) {
            for (int k = 0; k < 4; ++k, sample >>= 8)
                sum = (sum ^ (sample & 0xFF)) * 0x100000001B3;
        }
        return sum;
    }

    // "sample 7 of 33 x 31 gray noise", from the number of a sample of all.
    std::string place_of(std::size_t sample) const {
        const Mark* last = nullptr;
        for (const Mark& mark : marks_)
            last = mark.at <= sample ? &mark : last;
        return last ? "number " + std::to_string(sample - last->at) + " of " + last->input : "none";
    }

private:
    struct Mark {
        std::size_t at;
        std::string input;
    };
    std::vector<std::uint32_t> samples_;
    std::vector<Mark> marks_;
    bool has_odd_host_;
};
