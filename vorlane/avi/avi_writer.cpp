#include <vorlane/avi/avi_writer.h>

#include <algorithm>
#include <limits>

#include <vorlane/avi/bitmap_format.h>
#include <vorlane/avi/riff.h>

namespace vorlane {

namespace {

constexpr std::uint32_t frame_name = chunk_name("00db");
constexpr std::size_t header_bytes =
    12288; // up to and with the letters "movi" of the first segment
constexpr std::size_t most_segments = 510;
constexpr std::size_t segment_header_bytes = 24;
constexpr std::int64_t index_bytes_of_frame = 24; // in both indices together
constexpr std::int64_t index_bytes_of_segment = 64;
constexpr std::int64_t largest_chunk = std::numeric_limits<std::int32_t>::max();

std::uint32_t at_most_32_bits(std::uint64_t value) {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(value, 0xFFFFFFFF));
}

} // namespace

AviWriter::AviWriter(FileHandle file, std::int64_t segment_bytes)
    : file_(std::move(file)), segment_bytes_(segment_bytes) {}

void AviWriter::set_rate(std::uint32_t rate, std::uint32_t scale) {
    rate_ = std::max(rate, 1u);
    scale_ = std::max(scale, 1u);
}

int AviWriter::set_format(const unsigned char* format, std::size_t size) {
    constexpr std::size_t least = BitmapFormat::header_bytes;
    constexpr std::size_t largest_format = least + 4 * 256;
    if (!segments_.empty() || !format_.empty())
        return AVIERR_UNSUPPORTED;
    if (size < least || size > largest_format || get32(format) < least || get32(format) > size)
        return AVIERR_BADFORMAT;
    const BitmapFormat picture(format);
    if (picture.compression != BitmapFormat::uncompressed || !picture.has_sound_sizes())
        return AVIERR_BADFORMAT;
    format_.assign(format, format + size);
    return AVIERR_OK;
}

int AviWriter::write_frame(const void* bytes, std::int64_t count, bool is_key) {
    if (format_.empty())
        return AVIERR_BADFORMAT;
    if (count < 0 || count > largest_chunk - 1)
        return AVIERR_BADSIZE;
    if (segments_.empty()) {
        begin_segment();
    } else {
        const auto frames = static_cast<std::int64_t>(segment_frames_.size());
        const std::int64_t length = position_ - segments_.back().begin + 9 + count +
                                    (frames + 1) * index_bytes_of_frame + index_bytes_of_segment;
        if (length > segment_bytes_ && frames > 0) {
            end_segment();
            if (segments_.size() == most_segments)
                failed_ = true;
            begin_segment();
        }
    }
    if (failed_)
        return AVIERR_FILEWRITE;
    const auto size = static_cast<std::uint32_t>(count);
    segment_frames_.push_back({position_, size, is_key});
    unsigned char head[8];
    put_little(head, frame_name);
    put_little(head + 4, size);
    append(head, sizeof head);
    append(bytes, size);
    append("", size % 2);
    ++frames_;
    largest_frame_ = std::max(largest_frame_, size);
    return failed_ ? AVIERR_FILEWRITE : AVIERR_OK;
}

int AviWriter::finish() {
    if (!file_)
        return failed_ ? AVIERR_FILEWRITE : AVIERR_OK;
    if (segments_.empty())
        begin_segment();
    end_segment();
    const std::vector<unsigned char> head = header();
    failed_ = failed_ || !seek_to(file_.get(), 0) ||
              std::fwrite(head.data(), 1, head.size(), file_.get()) < head.size();
    failed_ = std::fclose(file_.release()) != 0 || failed_;
    return failed_ ? AVIERR_FILEWRITE : AVIERR_OK;
}

// All up to the first frame. It has the same length at the beginning, when it keeps the place, and
// at the end, when it has the numbers.
std::vector<unsigned char> AviWriter::header() const {
    std::vector<unsigned char> format = format_;
    format.resize(std::max(format.size(), BitmapFormat::header_bytes));
    const BitmapFormat picture(format.data());
    const auto width = static_cast<std::uint32_t>(picture.width);
    const auto height = static_cast<std::uint32_t>(picture.height);
    const auto row_bytes = static_cast<std::uint64_t>(picture.row_bytes(true));
    if (get32(format.data() + 20) == 0)
        put_little(format.data() + 20, at_most_32_bits(row_bytes * height));
    constexpr std::uint32_t has_index = 0x10;
    const std::int64_t first_frames = segments_.empty() ? 0 : segments_.front().frames;

    RiffBytes out;
    out.begin_list(chunk_name("RIFF"), chunk_name("AVI "));
    const std::size_t hdrl = out.begin_list(chunk_name("LIST"), chunk_name("hdrl"));
    const std::size_t avih = out.begin(chunk_name("avih"));
    out.add32(at_most_32_bits((std::uint64_t{1000000} * scale_ + rate_ / 2) / rate_));
    out.add32(at_most_32_bits(std::uint64_t{largest_frame_} * rate_ / scale_));
    out.add32(0); // padding
    out.add32(has_index);
    out.add32(first_frames);
    out.add32(0); // initial frames
    out.add32(1); // streams
    out.add32(largest_frame_);
    out.add32(width);
    out.add32(height);
    out.add_zeros(16);
    out.end(avih);

    const std::size_t strl = out.begin_list(chunk_name("LIST"), chunk_name("strl"));
    const std::size_t strh = out.begin(chunk_name("strh"));
    out.add32(streamtypeVIDEO);
    out.add32(chunk_name("DIB "));
    out.add_zeros(12); // flags, priority, language, initial frames
    out.add32(scale_);
    out.add32(rate_);
    out.add32(0); // start
    out.add32(frames_);
    out.add32(largest_frame_);
    out.add32(0xFFFFFFFF); // quality: none stated
    out.add32(0);          // sample size: a chunk is a frame
    out.add32(0);          // left, top
    out.add16(width);
    out.add16(height);
    out.end(strh);
    const std::size_t strf = out.begin(chunk_name("strf"));
    out.add_bytes(format.data(), format.size());
    out.end(strf);

    const std::size_t indx = out.begin(chunk_name("indx"));
    out.add16(4); // an entry has four words
    out.add16(0); // an index of indices
    out.add32(segments_.size());
    out.add32(frame_name);
    out.add_zeros(12);
    for (const Segment& segment : segments_) {
        out.add64(static_cast<std::uint64_t>(segment.index));
        out.add32(segment.index_size);
        out.add32(segment.frames);
    }
    out.add_zeros(16 * (most_segments - segments_.size()));
    out.end(indx);
    out.end(strl);

    const std::size_t odml = out.begin_list(chunk_name("LIST"), chunk_name("odml"));
    const std::size_t dmlh = out.begin(chunk_name("dmlh"));
    out.add32(frames_);
    out.add_zeros(244);
    out.end(dmlh);
    out.end(odml);
    out.end(hdrl);

    const std::size_t junk = out.begin(chunk_name("JUNK"));
    out.add_zeros(header_bytes - 12 - out.bytes().size());
    out.end(junk);
    out.begin_list(chunk_name("LIST"), chunk_name("movi"));
    out.set32(4, first_riff_size_);
    out.set32(header_bytes - 8, first_movi_size_);
    return out.bytes();
}

void AviWriter::begin_segment() {
    segment_frames_.clear();
    Segment segment = {};
    segment.begin = position_;
    if (segments_.empty()) {
        const std::vector<unsigned char> head = header();
        append(head.data(), head.size());
    } else {
        RiffBytes head;
        head.begin_list(chunk_name("RIFF"), chunk_name("AVIX"));
        head.begin_list(chunk_name("LIST"), chunk_name("movi"));
        append(head.bytes().data(), segment_header_bytes);
    }
    segment.movi = position_ - 4;
    segments_.push_back(segment);
}

void AviWriter::end_segment() {
    write_segment_index();
    const bool is_first = segments_.size() == 1;
    Segment& segment = segments_.back();
    segment.frames = static_cast<std::int64_t>(segment_frames_.size());
    const auto movi_size = static_cast<std::uint32_t>(position_ - segment.movi);
    if (is_first)
        write_old_index();
    const auto riff_size = static_cast<std::uint32_t>(position_ - segment.begin - 8);
    if (is_first) {
        first_movi_size_ = movi_size;
        first_riff_size_ = riff_size;
    } else {
        patch32(segment.movi - 4, movi_size);
        patch32(segment.begin + 4, riff_size);
    }
}

// Offsets count from the segment's begin and lead to the bytes of a frame.
void AviWriter::write_segment_index() {
    constexpr std::uint32_t no_key = 0x80000000;
    Segment& segment = segments_.back();
    RiffBytes out;
    const std::size_t index = out.begin(chunk_name("ix00"));
    out.add16(2);     // an entry has two words
    out.add16(0x100); // an index of chunks
    out.add32(segment_frames_.size());
    out.add32(frame_name);
    out.add64(static_cast<std::uint64_t>(segment.begin));
    out.add32(0);
    for (const Frame& frame : segment_frames_) {
        out.add32(static_cast<std::uint64_t>(frame.offset - segment.begin + 8));
        out.add32(frame.size | (frame.is_key ? 0 : no_key));
    }
    out.end(index);
    segment.index = position_;
    segment.index_size = static_cast<std::uint32_t>(out.bytes().size());
    append(out.bytes().data(), out.bytes().size());
}

// Offsets count from the letters "movi" and lead to a chunk.
void AviWriter::write_old_index() {
    RiffBytes out;
    const std::size_t index = out.begin(chunk_name("idx1"));
    for (const Frame& frame : segment_frames_) {
        out.add32(frame_name);
        out.add32(frame.is_key ? AVIIF_KEYFRAME : 0);
        out.add32(static_cast<std::uint64_t>(frame.offset - segments_.back().movi));
        out.add32(frame.size);
    }
    out.end(index);
    append(out.bytes().data(), out.bytes().size());
}

void AviWriter::append(const void* bytes, std::size_t count) {
    failed_ = failed_ || (count > 0 && std::fwrite(bytes, 1, count, file_.get()) < count);
    position_ += static_cast<std::int64_t>(count);
}

void AviWriter::patch32(std::int64_t at, std::uint32_t value) {
    unsigned char bytes[4];
    put_little(bytes, value);
    failed_ = failed_ || !seek_to(file_.get(), at) ||
              std::fwrite(bytes, 1, sizeof bytes, file_.get()) < sizeof bytes ||
              !seek_to(file_.get(), position_);
}

} // namespace vorlane
