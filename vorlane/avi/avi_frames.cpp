// Uncompressed frames of all depths, and frames in 8-bit run lengths.

#include <vorlane/avi/avi_frames.h>

#include <algorithm>
#include <cstring>

#include <vorlane/avi/riff.h>

namespace vorlane {

namespace {

constexpr std::size_t header_bytes = BitmapFormat::header_bytes;
constexpr int out_bit_count = 24;

// Paints run lengths on a canvas of indices, bottom row first. Runs that leave their row are cut.
// Returns the number of pixels painted; no pixel is painted twice, since runs only move on.
std::int64_t paint_runs(const unsigned char* at, const unsigned char* end, unsigned char* canvas,
                        std::int64_t width, std::int64_t height) {
    std::int64_t painted = 0;
    std::int64_t row = 0;
    std::int64_t col = 0;
    const auto room = [&](std::int64_t count) {
        return std::min(count, std::max<std::int64_t>(width - col, 0));
    };
    while (end - at >= 2 && row < height) {
        unsigned char* const pixels = canvas + row * width;
        const int count = at[0];
        const int value = at[1];
        at += 2;
        if (count > 0) {
            std::memset(pixels + std::min(col, width), value,
                        static_cast<std::size_t>(room(count)));
            painted += room(count);
            col += count;
        } else if (value == 0) { // end of the row
            ++row;
            col = 0;
        } else if (value == 1) { // end of the picture
            break;
        } else if (value == 2) { // move
            if (end - at < 2)
                break;
            col += at[0];
            row += at[1];
            at += 2;
        } else { // `value` pixels as they are, filled up to an even number
            if (end - at < value)
                break;
            std::memcpy(pixels + std::min(col, width), at, static_cast<std::size_t>(room(value)));
            painted += room(value);
            col += value;
            at += std::min<std::ptrdiff_t>(value + value % 2, end - at);
        }
    }
    return painted;
}

// Five bits as eight: the highest are repeated below.
unsigned char widen_5(unsigned value) {
    const unsigned low = value & 31;
    return static_cast<unsigned char>(low << 3 | low >> 2);
}

} // namespace

AviFrames::AviFrames(const AviFile& file, const AviTrack& track)
    : file_(file), track_(track), format_(track.format.data()),
      out_row_bytes_(static_cast<std::size_t>((format_.width * out_bit_count + 31) / 32 * 4)) {
    if (!can_decode())
        return;
    const std::size_t pixels = out_row_bytes_ * static_cast<std::size_t>(format_.height);
    current_.resize(header_bytes + pixels);
    unsigned char* const header = current_.data();
    put_little(header, std::uint32_t{header_bytes});
    put_little(header + 4, static_cast<std::uint32_t>(format_.width));
    put_little(header + 8, static_cast<std::uint32_t>(format_.height));
    put_little(header + 12, std::uint16_t{1});
    put_little(header + 14, std::uint16_t{out_bit_count});
    put_little(header + 20, static_cast<std::uint32_t>(pixels));
    next_ = current_;

    if (format_.compression == BitmapFormat::gray_levels) {
        for (std::size_t k = 0; k < first_palette_.size(); ++k)
            std::fill_n(first_palette_[k], 3, static_cast<unsigned char>(k));
    } else if (format_.bit_count == 8) {
        const std::size_t begin =
            std::min<std::size_t>(get32(track.format.data()), track.format.size());
        const std::size_t bytes = std::min(track.format.size() - begin, sizeof first_palette_);
        std::memcpy(first_palette_.data(), track.format.data() + begin, bytes / 4 * 4);
    }
    palette_ = first_palette_;
    if (format_.compression == BitmapFormat::rle8) {
        canvas_.resize(static_cast<std::size_t>(format_.width * format_.height));
        is_complete_.resize(track.frames.size());
    }
}

bool AviFrames::can_decode() const {
    if (format_.compression == BitmapFormat::rle8 ||
        format_.compression == BitmapFormat::gray_levels)
        return format_.bit_count == 8;
    return format_.compression == BitmapFormat::uncompressed &&
           (format_.bit_count == 8 || format_.bit_count == 16 || format_.bit_count == 24 ||
            format_.bit_count == 32);
}

unsigned char* AviFrames::frame(std::int64_t number) {
    if (number < 0 || number >= static_cast<std::int64_t>(track_.frames.size()))
        return nullptr;
    const AviChunk& chunk = track_.frames[static_cast<std::size_t>(number)];
    if (!format_.has_pixels())
        return current_.data();
    if (chunk.size == 0)
        return nullptr;
    bring_palette_to(static_cast<std::size_t>(number));
    if (format_.compression == BitmapFormat::rle8) {
        if (!bring_canvas_to(number))
            return nullptr;
        for (std::int64_t i = 0; i < format_.height; ++i)
            convert_row(canvas_.data() + i * format_.width,
                        next_.data() + header_bytes + static_cast<std::size_t>(i) * out_row_bytes_);
    } else if (!decode_plain(chunk)) {
        return nullptr;
    }
    std::swap(current_, next_);
    return current_.data();
}

// Rows without their filling bytes are taken as well, if the chunk is too short for more.
bool AviFrames::decode_plain(const AviChunk& chunk) {
    const auto total = [&](bool padded) { return format_.row_bytes(padded) * format_.height; };
    const bool padded = chunk.size >= total(true);
    if (!padded && chunk.size < total(false))
        return false;
    const auto row_bytes = static_cast<std::size_t>(format_.row_bytes(padded));
    const auto count = static_cast<std::size_t>(total(padded));
    unsigned char* const pixels = next_.data() + header_bytes;
    if (format_.bit_count == 24 && padded && !format_.is_top_down) {
        return chunk.offset + static_cast<std::int64_t>(count) <= file_.size() &&
               file_.read(chunk.offset, pixels, count);
    }
    if (!read_chunk(chunk, count))
        return false;
    const auto height = static_cast<std::size_t>(format_.height);
    for (std::size_t i = 0; i < height; ++i) {
        const std::size_t row = format_.is_top_down ? height - 1 - i : i;
        convert_row(chunk_.data() + row * row_bytes, pixels + i * out_row_bytes_);
    }
    return true;
}

// The canvas goes on from the frame that it shows, or starts at the last one before `number` that
// paints every pixel, or at the first.
bool AviFrames::bring_canvas_to(std::int64_t number) {
    if (canvas_frame_ == number)
        return true;
    std::int64_t from = number;
    for (;; --from) {
        if (from == canvas_frame_ + 1 && canvas_frame_ >= 0)
            break;
        if (from == 0) {
            std::fill(canvas_.begin(), canvas_.end(), static_cast<unsigned char>(0));
            break;
        }
        unsigned char& state = is_complete_[static_cast<std::size_t>(from)];
        if (state == 0) {
            canvas_frame_ = -1;
            if (!decode_onto_canvas(from))
                state = 1;
        }
        if (state == 2)
            break;
    }
    for (; from <= number; ++from) {
        canvas_frame_ = -1;
        if (!decode_onto_canvas(from) && from == number)
            return false;
    }
    canvas_frame_ = number;
    return true;
}

// A chunk as long as a whole picture holds indices as they are.
bool AviFrames::decode_onto_canvas(std::int64_t number) {
    const AviChunk& chunk = track_.frames[static_cast<std::size_t>(number)];
    if (!read_chunk(chunk, chunk.size))
        return false;
    const std::int64_t row_bytes = format_.row_bytes(true);
    std::int64_t painted = format_.width * format_.height;
    if (chunk.size == row_bytes * format_.height) {
        for (std::int64_t i = 0; i < format_.height; ++i)
            std::copy_n(chunk_.data() + i * row_bytes, format_.width,
                        canvas_.data() + i * format_.width);
    } else {
        painted = paint_runs(chunk_.data(), chunk_.data() + chunk.size, canvas_.data(),
                             format_.width, format_.height);
    }
    is_complete_[static_cast<std::size_t>(number)] =
        painted == format_.width * format_.height ? 2 : 1;
    return true;
}

bool AviFrames::read_chunk(const AviChunk& chunk, std::size_t count) {
    if (chunk.offset + static_cast<std::int64_t>(count) > file_.size())
        return false;
    if (chunk_.size() < count)
        chunk_.resize(count);
    return file_.read(chunk.offset, chunk_.data(), count);
}

// Changes of the palette come upon each other; going back, they begin anew.
void AviFrames::bring_palette_to(std::size_t number) {
    const std::vector<AviPaletteChange>& changes = track_.palette_changes;
    if (palette_changes_ > 0 && changes[palette_changes_ - 1].frame > number) {
        palette_ = first_palette_;
        palette_changes_ = 0;
    }
    for (; palette_changes_ < changes.size() && changes[palette_changes_].frame <= number;
         ++palette_changes_) {
        const AviPaletteChange& change = changes[palette_changes_];
        const unsigned char* from = track_.palette_bytes.data() + change.begin;
        for (std::size_t k = 0; k < change.count; ++k, from += 4)
            std::reverse_copy(from, from + 3, palette_[change.first + k]);
    }
}

void AviFrames::convert_row(const unsigned char* from, unsigned char* to) const {
    const std::int64_t width = format_.width;
    switch (format_.bit_count) {
    case 8:
        for (std::int64_t j = 0; j < width; ++j)
            std::memcpy(to + 3 * j, palette_[from[j]], 3);
        break;
    case 16: // five bits each of red, green, blue below a bit that doesn't count
        for (std::int64_t j = 0; j < width; ++j) {
            const unsigned pixel = get16(from + 2 * j);
            to[3 * j] = widen_5(pixel);
            to[3 * j + 1] = widen_5(pixel >> 5);
            to[3 * j + 2] = widen_5(pixel >> 10);
        }
        break;
    case 24:
        std::memcpy(to, from, static_cast<std::size_t>(3 * width));
        break;
    default:
        for (std::int64_t j = 0; j < width; ++j)
            std::memcpy(to + 3 * j, from + 4 * j, 3);
    }
}

} // namespace vorlane
