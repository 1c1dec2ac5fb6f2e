#include <vorlane/avi/avi_reader.h>

#include <algorithm>
#include <cctype>
#include <cstring>

#include <vorlane/avi/riff.h>
#include <vorlane/platform/avifile.h>

namespace vorlane {

namespace {

constexpr std::size_t most_tracks = 100; // chunks name their stream by two digits

bool is_name(const unsigned char* letters) {
    return std::all_of(letters, letters + 4, [](unsigned char c) { return c >= 32 && c < 127; });
}

} // namespace

bool AviFile::parse() {
    size_ = bytes_left(file_.get());
    unsigned char head[12];
    if (!read(0, head, sizeof head) || get32(head) != chunk_name("RIFF"))
        return false;
    bool in_movi = false;
    std::int64_t at = 0;
    while (at + 8 <= size_ && read(at, head, 8) && is_name(head)) {
        const std::uint32_t name = get32(head);
        const std::uint32_t size = get32(head + 4);
        const std::int64_t data = at + 8;
        // Lists are walked into: their sizes, wrong in a file that wasn't finished, don't matter.
        const bool is_riff = name == chunk_name("RIFF");
        if ((is_riff || name == chunk_name("LIST")) && read(data, head + 8, 4)) {
            const std::uint32_t type = get32(head + 8);
            in_movi = in_movi || type == chunk_name("movi");
            if (is_riff || type == chunk_name("hdrl") || type == chunk_name("strl") ||
                type == chunk_name("movi") || type == chunk_name("rec ")) {
                at = data + 4;
                continue;
            }
        }
        if (in_movi)
            add_frame(head, {data, size});
        else if (name == chunk_name("strh"))
            parse_stream_header(data, size);
        else if (name == chunk_name("strf"))
            parse_format(data, size);
        else if (name == chunk_name("avih") && size >= sizeof header_) {
            unsigned char words[sizeof header_];
            if (read(data, words, sizeof words)) {
                for (std::size_t k = 0; k < std::size(header_); ++k)
                    header_[k] = get32(words + 4 * k);
            }
        }
        at = data + std::int64_t{size} + size % 2;
    }
    return true;
}

const AviTrack* AviFile::first_video() const {
    for (const AviTrack& track : tracks_) {
        if (track.type == streamtypeVIDEO)
            return &track;
    }
    return nullptr;
}

bool AviFile::read(std::int64_t offset, unsigned char* bytes, std::size_t count) const {
    return seek_to(file_.get(), offset) && std::fread(bytes, 1, count, file_.get()) == count;
}

void AviFile::parse_stream_header(std::int64_t offset, std::uint32_t size) {
    unsigned char bytes[48];
    if (tracks_.size() == most_tracks || size < sizeof bytes || !read(offset, bytes, sizeof bytes))
        return;
    AviTrack track;
    track.type = get32(bytes);
    track.handler = get32(bytes + 4);
    track.flags = get32(bytes + 8);
    track.scale = get32(bytes + 20);
    track.rate = get32(bytes + 24);
    track.start = get32(bytes + 28);
    tracks_.push_back(std::move(track));
}

void AviFile::parse_format(std::int64_t offset, std::uint32_t size) {
    constexpr std::uint32_t most_bytes = 4096;
    if (tracks_.empty() || !tracks_.back().format.empty())
        return;
    const auto available = static_cast<std::uint32_t>(
        std::clamp<std::int64_t>(size_ - offset, 0, std::min(size, most_bytes)));
    std::vector<unsigned char>& format = tracks_.back().format;
    format.resize(available);
    if (!read(offset, format.data(), format.size()))
        format.clear();
}

void AviFile::add_frame(const unsigned char* name, const AviChunk& chunk) {
    if (!std::isdigit(name[0]) || !std::isdigit(name[1]) || name[2] != 'd' ||
        (name[3] != 'b' && name[3] != 'c'))
        return;
    const auto number = static_cast<std::size_t>(10 * (name[0] - '0') + (name[1] - '0'));
    if (number < tracks_.size() && tracks_[number].type == streamtypeVIDEO)
        tracks_[number].frames.push_back(chunk);
}

BitmapFormat::BitmapFormat(const unsigned char* header) {
    width = get_int(header + 4);
    height = get_int(header + 8);
    is_top_down = height < 0;
    height = is_top_down ? -height : height;
    bit_count = get16(header + 14);
    compression = get32(header + 16);
}

std::int64_t BitmapFormat::row_bytes(bool padded) const {
    const std::int64_t bits = width * bit_count;
    return padded ? (bits + 31) / 32 * 4 : (bits + 7) / 8;
}

} // namespace vorlane
