// Reading and writing AVI files, without images.

#include <vorlane/platform/avifile.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <random>

#include <gtest/gtest.h>

#include <support/avi_files.h>
#include <support/scratch_folder.h>
#include <vorlane/avi/avi_reader.h>
#include <vorlane/avi/avi_writer.h>

namespace {

using namespace std::string_literals;

// An AVI file that is open for reading.
class Reading {
public:
    explicit Reading(const std::string& path) {
        AVIFileInit();
        result = open_avi(&file, path.c_str(), 0);
        if (result == AVIERR_OK)
            AVIFileGetStream(file, &stream, streamtypeVIDEO, 0);
        if (stream)
            frames = open_avi_frames(stream, nullptr);
    }
    Reading(const ScratchFolder& folder, const std::string& bytes)
        : Reading(folder.write("f.avi", bytes)) {}
    ~Reading() {
        if (frames)
            AVIStreamGetFrameClose(frames);
        close_avi(file, stream);
    }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

    int count() const {
        AVISTREAMINFOA info;
        return AVIStreamInfoA(stream, &info, sizeof info) == 0 ? static_cast<int>(info.dwLength)
                                                               : -1;
    }

    // The pixels of a frame as they lie in memory, or "none".
    std::string pixels(int number) const {
        const auto* const frame =
            static_cast<const unsigned char*>(AVIStreamGetFrame(frames, number));
        if (!frame)
            return "none";
        std::int32_t header[5];
        std::memcpy(header, frame, sizeof header);
        EXPECT_EQ(header[0], 40);
        EXPECT_EQ(header[3], 24 << 16 | 1);
        EXPECT_EQ(header[4], 0);
        const std::size_t bytes = static_cast<std::size_t>((header[1] * 3 + 3) / 4 * 4) * header[2];
        return {reinterpret_cast<const char*>(frame) + header[0], bytes};
    }

    PAVIFILE file = nullptr;
    PAVISTREAM stream = nullptr;
    PGETFRAME frames = nullptr;
    int result;
};

std::string random_bytes(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes(count, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
}

std::string colour(int blue, int green, int red) {
    return {static_cast<char>(blue), static_cast<char>(green), static_cast<char>(red)};
}

// Two palettes colours behind black: 1 is (10, 20, 30), 2 is (40, 50, 60), blue first.
const std::string three_colours =
    std::string(4, '\0') + colour(10, 20, 30) + '\0' + colour(40, 50, 60) + '\0';

// Pixels by letters, 0 to 2, of that palette.
std::string indexed(std::initializer_list<const char*> rows_from_the_bottom) {
    std::string pixels;
    for (const char* row : rows_from_the_bottom) {
        std::string bytes;
        for (; *row; ++row)
            bytes += three_colours.substr(4 * static_cast<std::size_t>(*row - '0'), 3);
        bytes.resize((bytes.size() + 3) / 4 * 4);
        pixels += bytes;
    }
    return pixels;
}

} // namespace

TEST(AviRecords, HaveTheirSizes) {
    EXPECT_EQ(sizeof(AVIFILEINFOA), 108u);
    EXPECT_EQ(sizeof(AVISTREAMINFOA), 140u);
}

TEST(AviReading, GivesUncompressedFramesOfEveryDepth) {
    const ScratchFolder folder;
    const auto shown = [&](const std::string& format, const std::string& frame) {
        return Reading(folder, avi::video(format, avi::chunk("00db", frame))).pixels(0);
    };
    const std::string plain = avi::format(3, 2, 24);
    const std::string frame = "abcdefghi\0\0\0ABCDEFGHI\0\0\0"s;
    EXPECT_EQ(shown(plain, frame), frame);
    EXPECT_EQ(shown(avi::format(3, -2, 24), frame), frame.substr(12) + frame.substr(0, 12));
    // Rows without their filling bytes, and a chunk that is too short even so.
    EXPECT_EQ(shown(plain, "abcdefghiABCDEFGHI"), frame);
    EXPECT_EQ(shown(plain, "abcdefghiABCDEFGH"), "none");
    EXPECT_EQ(shown(avi::format(3, 2, 32), "abcxdefxghixABCxDEFxGHIx"), frame);
    // Index 3 is beyond the table, and so black.
    const std::string indices = "\0\1\2\0\2\3\1\0"s;
    EXPECT_EQ(shown(avi::format(3, 2, 8, 0, three_colours), indices), indexed({"012", "201"}));
    EXPECT_EQ(shown(avi::format(3, -2, 8, 0, three_colours), indices), indexed({"201", "012"}));
    // Gray levels, the top row first, whatever the height says.
    EXPECT_EQ(shown(avi::format(3, 2, 8, 0x30303859), "abcdef"), "dddeeefff\0\0\0aaabbbccc\0\0\0"s);
    // 5 bits each: red 31, green 1, blue 16; the top bit doesn't count.
    const std::string pixel = avi::little16(31 << 10 | 1 << 5 | 16 | 1 << 15);
    EXPECT_EQ(shown(avi::format(3, 2, 16), pixel + std::string(14, '\0')).substr(0, 3),
              colour(132, 8, 255));
    // Nothing to see: no byte of a picture is touched.
    EXPECT_EQ(shown(avi::format(0, 4, 8), "\5\1"), "");
    EXPECT_EQ(shown(avi::format(0, 4, 8, 1), "\5\1"), "");
    EXPECT_EQ(shown(avi::format(4, 0, 8), ""), "");
}

TEST(AviReading, PaintsRunLengthsFrameUponFrame) {
    const ScratchFolder folder;
    const std::string whole = "\5\1\0\0\5\2\0\0\5\1\0\1"s;
    const std::string part = "\0\2\1\1\2\0\0\1"s; // move by 1, 1; two pixels
    const std::string literal = "\0\3\1\2\1\0\0\0\0\5\2\2\2\2\2\0\0\1"s;
    const std::string wild = "\377\2\0\2\377\0\4\1\0\0\0\1"s; // leaves its row, twice
    std::string chunks;
    for (const std::string& frame : {part, whole, part, literal, ""s, wild})
        chunks += avi::chunk("00dc", frame);
    const std::string bytes = avi::video(avi::format(5, 3, 8, 1, three_colours), chunks);
    const std::string after_literal = indexed({"12111", "22222", "11111"});
    const std::string expected[] = {indexed({"00000", "00000", "00000"}),
                                    indexed({"11111", "22222", "11111"}),
                                    indexed({"11111", "20022", "11111"}),
                                    after_literal,
                                    after_literal,
                                    indexed({"22222", "22222", "11111"})};
    for (const bool forward : {true, false}) {
        const Reading movie(folder, bytes);
        ASSERT_EQ(movie.count(), 6);
        for (int k = 0; k < 6; ++k) {
            const int number = forward ? k : 5 - k;
            EXPECT_EQ(movie.pixels(number), expected[number]) << number << forward;
        }
    }
}

TEST(AviReading, FindsItsFramesAmongOtherChunks) {
    const ScratchFolder folder;
    const std::string a(8, 'a');
    const std::string b(8, 'b');
    const std::string c(8, 'c');
    const std::string streams =
        avi::stream("auds", std::string(18, '\1')) + avi::stream("vids", avi::format(2, 1, 24));
    const std::string frames = avi::chunk("00wb", "odd") + avi::chunk("01db", a) +
                               avi::chunk("JUNK", std::string(5001, 'x')) +
                               avi::list("rec ", avi::chunk("01dc", b) + avi::chunk("00wb", "1")) +
                               avi::chunk("02db", "none of ours");
    const std::string second =
        avi::chunk("RIFF", "AVIX" + avi::list("movi", avi::chunk("01db", c)));
    const std::string whole = avi::file(2, 1, avi::list("INFO", avi::chunk("ISFT", "x")) + streams,
                                        frames, avi::chunk("idx1", std::string(32, '\0'))) +
                              second;
    const Reading movie(folder, whole);
    ASSERT_EQ(movie.count(), 3);
    EXPECT_EQ(movie.pixels(2), c);
    EXPECT_EQ(movie.pixels(0), a);
    EXPECT_EQ(movie.pixels(1), b);
    EXPECT_EQ(movie.pixels(3), "none");
    EXPECT_EQ(movie.pixels(-1), "none");
    AVIFILEINFOA info;
    AVIFileInfoA(movie.file, &info, sizeof info);
    EXPECT_EQ(info.dwWidth, 2u);
    EXPECT_EQ(info.dwHeight, 1u);
    EXPECT_EQ(info.dwStreams, 2u);
}

// A chunk of no bytes shows the frame before it, and the first one where there is none before.
TEST(AviReading, ShowsEmptyFramesAsTheOneBefore) {
    const ScratchFolder folder;
    const std::string a(8, 'a');
    const std::string b(8, 'b');
    std::string chunks;
    for (const std::string& frame : {""s, ""s, a, ""s, b, ""s})
        chunks += avi::chunk("00dc", frame) + avi::chunk("01wb", "sound");
    const std::string format = avi::format(2, 1, 24);
    const Reading movie(folder, avi::video(format, chunks));
    ASSERT_EQ(movie.count(), 6);
    for (const int number : {5, 4, 3, 2, 1, 0, 5})
        EXPECT_EQ(movie.pixels(number), number < 4 ? a : b) << number;
    EXPECT_EQ(Reading(folder, avi::video(format, avi::chunk("00dc", ""))).pixels(0), "none");
}

// Also upon each other, partly, and going back.
TEST(AviReading, ChangesThePaletteAtItsPlace) {
    const ScratchFolder folder;
    for (const bool is_run_length : {false, true}) {
        const std::string frame =
            avi::chunk("00dc", is_run_length ? "\0\3\0\1\2\0\0\1"s : "\0\1\2\0"s);
        const std::string chunks = frame + avi::chunk("00pc", "\1\1\0\0rgb\0"s) + frame + frame +
                                   avi::chunk("00pc", "\2\0\0\0RGB\0"s) +  // fewer than it states
                                   avi::chunk("00pc", "\0\1\0\0xyz\0w"s) + // more
                                   avi::chunk("00pc", "\0\1\0"s) + frame;
        const Reading movie(folder,
                            avi::video(avi::format(3, 1, 8, is_run_length, three_colours), chunks));
        const std::string start = indexed({"012"});
        const std::string middle = start.substr(0, 3) + "bgr" + start.substr(6);
        const std::string end = "zyxbgrBGR" + start.substr(9);
        const std::string expected[] = {start, middle, middle, end};
        for (const int number : {0, 1, 2, 3, 2, 0, 3, 1})
            EXPECT_EQ(movie.pixels(number), expected[number]) << number << is_run_length;
    }
}

// Whatever the length at which a file is cut, what is whole is read and the rest isn't.
TEST(AviReading, SurvivesEveryTruncation) {
    const ScratchFolder folder;
    const std::string frame = random_bytes(24, 1);
    const std::string chunk = avi::chunk("00db", frame);
    const std::string whole =
        avi::video(avi::format(3, 2, 24), chunk + avi::chunk("JUNK", "odd") + chunk);
    const std::size_t first_end = whole.find(frame) + frame.size();
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const Reading movie(folder, whole.substr(0, length));
        EXPECT_TRUE(length >= 12 || movie.result == AVIERR_BADFORMAT) << length;
        if (!movie.stream)
            continue;
        EXPECT_EQ(movie.count(), length == whole.size() ? 2 : length >= first_end ? 1 : 0);
        EXPECT_EQ(movie.pixels(0) == frame, length >= first_end) << length;
        EXPECT_EQ(movie.pixels(1) == frame, length == whole.size()) << length;
    }
}

TEST(AviReading, RefusesWhatItCantDecode) {
    const ScratchFolder folder;
    const auto is_decoded = [&](const std::string& format) {
        const Reading movie(folder, avi::video(format, avi::chunk("00dc", "abcd")));
        EXPECT_EQ(movie.result, AVIERR_OK);
        return movie.frames != nullptr;
    };
    EXPECT_TRUE(is_decoded(avi::format(4, 4, 24)));
    for (const std::string& format :
         {avi::format(4, 4, 24, 0x47504A4D), avi::format(4, 4, 4), avi::format(4, 4, 24, 1)})
        EXPECT_FALSE(is_decoded(format));
    for (const std::string& bytes :
         {""s, "TQ and more than that"s, avi::video(avi::format(2000000000, 2000000000, 24), ""),
          avi::video(avi::format(-4, 4, 24), ""),
          avi::video(avi::format(4, static_cast<int>(0x80000000), 24), "")})
        EXPECT_EQ(Reading(folder, bytes).result, AVIERR_BADFORMAT);
    // A second stream is believed no more than the first.
    const std::string small = avi::stream("vids", avi::format(1, 1, 24));
    const std::string bomb = avi::stream("vids", avi::format(60000, 60000, 24));
    const Reading movie(folder, avi::file(1, 1, small + bomb, ""));
    PAVISTREAM second = nullptr;
    ASSERT_EQ(AVIFileGetStream(movie.file, &second, streamtypeVIDEO, 1), AVIERR_OK);
    EXPECT_EQ(open_avi_frames(second, nullptr), nullptr);
    AVIStreamRelease(second);

    const std::string pipe = folder.pipe("pipe");
    for (const std::string& path : {folder.path("missing"), folder.path(), pipe})
        EXPECT_EQ(Reading(path).result, AVIERR_FILEOPEN);
    if (std::ifstream("/proc/self/mem")) { // opens, and then can't be read
        EXPECT_EQ(Reading("/proc/self/mem").result, AVIERR_FILEREAD);
    }
}

namespace {

// Writes `count` frames of random bytes with segments of at most `segment_bytes`.
void write_movie(const std::string& path, int width, int height, int count,
                 std::int64_t segment_bytes) {
    vorlane::AviWriter writer(vorlane::FileHandle(vorlane::open_file(path.c_str(), "wb")),
                              segment_bytes);
    const std::string format = avi::format(width, height, 24);
    writer.set_rate(5, 1);
    ASSERT_EQ(writer.set_format(reinterpret_cast<const unsigned char*>(format.data()), 40), 0);
    const std::size_t bytes = (std::size_t{3} * width + 3) / 4 * 4 * height;
    for (int k = 0; k < count; ++k)
        ASSERT_EQ(writer.write_frame(random_bytes(bytes, static_cast<unsigned>(k)).data(),
                                     static_cast<std::int64_t>(bytes), true),
                  0);
    ASSERT_EQ(writer.finish(), 0);
}

// The chunks of a file or list, each with its name (of a list: its type) and what it holds. Sizes
// must fit into each other exactly.
struct Chunk {
    std::string name;
    std::size_t offset;
    std::string_view bytes;
};

std::vector<Chunk> chunks_of(std::string_view all, std::size_t begin, std::size_t end) {
    std::vector<Chunk> chunks;
    while (begin < end) {
        std::uint32_t size;
        std::memcpy(&size, all.data() + begin + 4, 4);
        EXPECT_LE(begin + 8 + size, end);
        if (begin + 8 + size > end)
            break;
        std::string name(all.substr(begin, 4));
        if (name == "RIFF" || name == "LIST")
            name = all.substr(begin + 8, 4);
        chunks.push_back({name, begin, all.substr(begin + 8, size)});
        begin += 8 + size + size % 2;
    }
    EXPECT_EQ(begin, end);
    return chunks;
}

template<class Number>
Number number_at(std::string_view bytes, std::size_t at) {
    Number value;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

} // namespace

// The indices lead to every frame, and all sizes fit, in one segment and in several.
TEST(AviWriting, MakesFilesWithWholeIndices) {
    const ScratchFolder folder;
    constexpr int count = 43;
    for (const std::int64_t segment : {vorlane::AviWriter::usual_segment, std::int64_t{20000}}) {
        write_movie(folder.path("f.avi"), 21, 13, count, segment);
        const std::string all = folder.read("f.avi");
        const std::vector<Chunk> segments = chunks_of(all, 0, all.size());
        EXPECT_EQ(segments.size() > 2, segment == 20000);

        const std::size_t indx = all.find("indx") + 8;
        EXPECT_EQ(number_at<std::uint32_t>(all, indx + 4), segments.size());
        int frame = 0;
        for (std::size_t k = 0; k < segments.size(); ++k) {
            EXPECT_EQ(segments[k].name, k == 0 ? "AVI " : "AVIX");
            const std::size_t begin = segments[k].offset;
            const std::size_t entry = indx + 24 + 16 * k;
            const auto ix = static_cast<std::size_t>(number_at<std::uint64_t>(all, entry));
            const auto in_segment = number_at<std::uint32_t>(all, entry + 12);
            ASSERT_EQ(all.substr(ix, 4), "ix00");
            EXPECT_EQ(number_at<std::uint32_t>(all, entry + 8),
                      number_at<std::uint32_t>(all, ix + 4) + 8);
            EXPECT_EQ(number_at<std::uint32_t>(all, ix + 12), in_segment);
            const auto base = number_at<std::uint64_t>(all, ix + 20);
            for (std::uint32_t f = 0; f < in_segment; ++f, ++frame) {
                const auto at = base + number_at<std::uint32_t>(all, ix + 32 + 8 * f);
                const auto size = number_at<std::uint32_t>(all, ix + 36 + 8 * f);
                EXPECT_EQ(size, 64u * 13);
                EXPECT_EQ(all.substr(at, size), random_bytes(size, static_cast<unsigned>(frame)));
            }
            for (const Chunk& chunk :
                 chunks_of(all, begin + 12, begin + 8 + segments[k].bytes.size())) {
                if (chunk.name == "idx1") {
                    const std::size_t movi = all.find("movi");
                    EXPECT_EQ(chunk.bytes.size(), 16 * in_segment);
                    const auto last = chunk.bytes.size() - 16;
                    EXPECT_EQ(number_at<std::uint32_t>(chunk.bytes, last + 4), 16u);
                    EXPECT_EQ(all.substr(movi + number_at<std::uint32_t>(chunk.bytes, last + 8), 4),
                              "00db");
                } else {
                    chunks_of(all, chunk.offset + 12, chunk.offset + 8 + chunk.bytes.size());
                }
            }
        }
        EXPECT_EQ(frame, count);
        EXPECT_EQ(number_at<std::uint32_t>(all, all.find("strh") + 8 + 32), std::uint32_t{count});
        EXPECT_EQ(number_at<std::uint32_t>(all, all.find("dmlh") + 8), std::uint32_t{count});

        const Reading movie(folder.path("f.avi"));
        ASSERT_EQ(movie.count(), count);
        for (int k = 0; k < count; ++k)
            EXPECT_EQ(movie.pixels(k), random_bytes(64 * 13, static_cast<unsigned>(k)));
    }
}

TEST(AviWriting, GoesThroughTheCallsAndTellsFailures) {
    const ScratchFolder folder;
    std::string format = avi::format(2, 2, 24);
    const std::string frame("abcdef\0\0ghijkl\0\0", 16);
    AVISTREAMINFOA info = {};
    info.fccType = streamtypeVIDEO;
    info.dwScale = 1;
    info.dwRate = 5;
    const auto write = [&](const std::string& path, int frames, std::string pixels) {
        PAVIFILE file = nullptr;
        PAVISTREAM stream = nullptr;
        if (const int result = open_avi(&file, path.c_str(), 4098))
            return result;
        AVIFileCreateStreamA(file, &stream, &info);
        EXPECT_EQ(AVIStreamSetFormat(stream, 0, format.data(), 40), AVIERR_OK);
        AVIFILEINFOA told;
        AVIFileInfoA(file, &told, sizeof told);
        EXPECT_EQ(told.dwHeight, 2u);
        for (int k = 0; k < frames; ++k)
            AVIStreamWrite(stream, k, 1, pixels.data(), static_cast<int>(pixels.size()), 16,
                           nullptr, nullptr);
        EXPECT_EQ(AVIStreamWrite(stream, frames + 1, 1, pixels.data(), 16, 16, nullptr, nullptr),
                  AVIERR_BADPARAM);
        return close_avi(file, stream);
    };
    EXPECT_EQ(write(folder.path("f.avi"), 3, frame), AVIERR_OK);
    EXPECT_EQ(Reading(folder.path("f.avi")).pixels(2), frame);
    EXPECT_EQ(write(folder.path("f.avi"), 0, frame), AVIERR_OK);
    EXPECT_EQ(Reading(folder.path("f.avi")).count(), 0);
    EXPECT_EQ(write(folder.path("no/f.avi"), 0, frame), AVIERR_FILEOPEN);
    // The top row first: sizes are told and written as they are, and rows come turned over.
    format = avi::format(2, -2, 24);
    EXPECT_EQ(write(folder.path("f.avi"), 1, frame), AVIERR_OK);
    EXPECT_EQ(Reading(folder.path("f.avi")).pixels(0), frame.substr(8) + frame.substr(0, 8));
    const std::string bytes = folder.read("f.avi");
    const std::size_t avih = bytes.find("avih") + 8;
    EXPECT_EQ(number_at<std::uint32_t>(bytes, avih + 36), 2u);
    const std::size_t strf = bytes.find("strf") + 8;
    EXPECT_EQ(number_at<std::int32_t>(bytes, strf + 8), -2);
    EXPECT_EQ(number_at<std::uint32_t>(bytes, strf + 20), 16u);
    if (std::ifstream("/dev/full")) {
        EXPECT_EQ(write("/dev/full", 1, frame), AVIERR_FILEWRITE);
        EXPECT_EQ(write("/dev/full", 0, frame), AVIERR_FILEWRITE);
    }
}
