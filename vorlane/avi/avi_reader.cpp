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

// Empty frames at the start show the first one that isn't.
void fill_up_start(std::vector<AviChunk>& frames) {
    const auto first = std::find_if(frames.begin(), frames.end(),
                                    [](const AviChunk& frame) { return frame.size > 0; });
    if (first != frames.end())
        std::fill(frames.begin(), first, *first);
}

} // namespace

AviFile::Parsed AviFile::parse() {
    size_ = bytes_left(file_.get());
    unsigned char head[12];
    const bool is_riff_file = read(0, head, sizeof head) && get32(head) == chunk_name("RIFF");
    bool in_movi = false;
    std::int64_t at = 0;
    while (is_riff_file && at + 8 <= size_ && read(at, head, 8) && is_name(head)) {
        const std::uint32_t name = get32(head);
        const AviChunk chunk = {at + 8, get32(head + 4)};
        // Lists are walked into: their sizes, wrong in a file that wasn't finished, don't matter.
        const bool is_riff = name == chunk_name("RIFF");
        if ((is_riff || name == chunk_name("LIST")) && read(chunk.offset, head + 8, 4)) {
            const std::uint32_t type = get32(head + 8);
            in_movi = in_movi || type == chunk_name("movi");
            if (is_riff || type == chunk_name("hdrl") || type == chunk_name("strl") ||
                type == chunk_name("movi") || type == chunk_name("rec ")) {
                at = chunk.offset + 4;
                continue;
            }
        }
        if (in_movi)
            parse_movie_chunk(head, chunk);
        else
            parse_chunk(head, chunk);
        at = chunk.offset + std::int64_t{chunk.size} + chunk.size % 2;
    }
    for (AviTrack& track : tracks_)
        fill_up_start(track.frames);
    if (std::ferror(file_.get()))
        return Parsed::unreadable;
    return is_riff_file ? Parsed::whole : Parsed::not_riff;
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

void AviFile::parse_chunk(const unsigned char* name, const AviChunk& chunk) {
    switch (get32(name)) {
    case chunk_name("avih"):
        return parse_main_header(chunk);
    case chunk_name("strh"):
        return parse_stream_header(chunk);
    case chunk_name("strf"):
        return parse_format(chunk);
    default:
        return;
    }
}

void AviFile::parse_main_header(const AviChunk& chunk) {
    unsigned char words[sizeof header_];
    if (chunk.size < sizeof words || !read(chunk.offset, words, sizeof words))
        return;
    for (std::size_t k = 0; k < std::size(header_); ++k)
        header_[k] = get32(words + 4 * k);
}

void AviFile::parse_stream_header(const AviChunk& chunk) {
    unsigned char bytes[48];
    if (tracks_.size() == most_tracks || chunk.size < sizeof bytes ||
        !read(chunk.offset, bytes, sizeof bytes))
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

void AviFile::parse_format(const AviChunk& chunk) {
    constexpr std::uint32_t most_bytes = 4096;
    if (tracks_.empty() || !tracks_.back().format.empty())
        return;
    const auto available = static_cast<std::uint32_t>(
        std::clamp<std::int64_t>(size_ - chunk.offset, 0, std::min(chunk.size, most_bytes)));
    std::vector<unsigned char>& format = tracks_.back().format;
    format.resize(available);
    if (!read(chunk.offset, format.data(), format.size()))
        format.clear();
}

// "00db" and "00dc" are frames of stream 0, and "00pc" changes its palette.
void AviFile::parse_movie_chunk(const unsigned char* name, const AviChunk& chunk) {
    if (!std::isdigit(name[0]) || !std::isdigit(name[1]))
        return;
    const std::size_t number = std::size_t{10} * (name[0] - '0') + (name[1] - '0');
    const bool is_cut = chunk.offset + std::int64_t{chunk.size} > size_;
    if (is_cut || number >= tracks_.size() || tracks_[number].type != streamtypeVIDEO)
        return;
    AviTrack& track = tracks_[number];
    std::vector<AviChunk>& frames = track.frames;
    if (name[2] == 'd' && (name[3] == 'b' || name[3] == 'c'))
        frames.push_back(chunk.size == 0 && !frames.empty() ? frames.back() : chunk);
    else if (name[2] == 'p' && name[3] == 'c')
        parse_palette_change(track, chunk);
}

// The first colour, their number (0 stands for 256), two bytes of flags, and the colours.
void AviFile::parse_palette_change(AviTrack& track, const AviChunk& chunk) {
    constexpr std::size_t colours = 256;
    unsigned char bytes[4 + 4 * colours];
    const std::size_t size = std::min<std::size_t>(chunk.size, sizeof bytes);
    if (size < 4 || !read(chunk.offset, bytes, size))
        return;
    const std::size_t first = bytes[0];
    const std::size_t stated = bytes[1] == 0 ? colours : bytes[1];
    const std::size_t count = std::min({stated, colours - first, (size - 4) / 4});
    track.palette_changes.push_back(
        {track.frames.size(), first, count, track.palette_bytes.size()});
    track.palette_bytes.insert(track.palette_bytes.end(), bytes + 4, bytes + 4 + 4 * count);
}

} // namespace vorlane
