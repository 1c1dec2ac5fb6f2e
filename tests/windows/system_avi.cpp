#include <windows/system_avi.h>

#include <gtest/gtest.h>

#include <windows.h>
// After windows.h.
#include <vfw.h>

namespace {

std::wstring wide(const std::string& utf8) {
    std::wstring result(utf8.size() + 1, L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, result.data(),
                        static_cast<int>(result.size()));
    return result;
}

} // namespace

void write_avi_by_system(const std::string& path, int width, int height,
                         const std::vector<std::string>& frames) {
    AVIFileInit();
    PAVIFILE file = nullptr;
    ASSERT_EQ(AVIFileOpenW(&file, wide(path).c_str(), OF_WRITE | OF_CREATE, nullptr), 0);
    AVISTREAMINFOW about = {};
    about.fccType = streamtypeVIDEO;
    about.dwScale = 1;
    about.dwRate = 25;
    about.rcFrame = {0, 0, width, height};
    PAVISTREAM stream = nullptr;
    ASSERT_EQ(AVIFileCreateStreamW(file, &stream, &about), 0);
    BITMAPINFOHEADER format = {};
    format.biSize = sizeof format;
    format.biWidth = width;
    format.biHeight = height;
    format.biPlanes = 1;
    format.biBitCount = 24;
    EXPECT_EQ(AVIStreamSetFormat(stream, 0, &format, sizeof format), 0);
    LONG number = 0;
    for (std::string frame : frames) {
        EXPECT_EQ(AVIStreamWrite(stream, number++, 1, frame.data(), static_cast<LONG>(frame.size()),
                                 AVIIF_KEYFRAME, nullptr, nullptr),
                  0);
    }
    AVIStreamRelease(stream);
    AVIFileRelease(file);
    AVIFileExit();
}

std::vector<std::string> read_avi_by_system(const std::string& path) {
    AVIFileInit();
    PAVIFILE file = nullptr;
    PAVISTREAM stream = nullptr;
    std::vector<std::string> frames;
    EXPECT_EQ(AVIFileOpenW(&file, wide(path).c_str(), OF_READ, nullptr), 0);
    EXPECT_EQ(AVIFileGetStream(file, &stream, streamtypeVIDEO, 0), 0);
    const LONG count = stream ? AVIStreamLength(stream) : 0;
    for (LONG k = 0; k < count; ++k) {
        LONG bytes = 0;
        EXPECT_EQ(AVIStreamRead(stream, k, 1, nullptr, 0, &bytes, nullptr), 0);
        std::string frame(static_cast<std::size_t>(bytes), '\0');
        EXPECT_EQ(AVIStreamRead(stream, k, 1, frame.data(), bytes, &bytes, nullptr), 0);
        frames.push_back(std::move(frame));
    }
    if (stream)
        AVIStreamRelease(stream);
    if (file)
        AVIFileRelease(file);
    AVIFileExit();
    return frames;
}
