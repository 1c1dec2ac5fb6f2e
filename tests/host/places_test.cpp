// What hosts read and write at places that refuse it: an Error that names the file, the older file as it was, and
// nothing beside it.

#include <filesystem>
#include <functional>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include <host/movies.h>
#include <host/pictures.h>
#include <host/volumes.h>
#include <support/bad_places.h>
#include <support/images.h>

namespace {

namespace fs = std::filesystem;
using namespace vorlane::host;

std::string refusal(const std::function<void()>& call) {
    try {
        call();
    } catch (const Error& error) {
        return error.what();
    }
    return "";
}

std::set<std::string> names_in(const std::string& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.insert(entry.path().filename().string());
    return names;
}

TEST(HostsAtBadPlaces, ReadersNameTheFile) {
    const BadPlaces places;
    const std::function<void(const std::string&)> readers[] = {
        [](const std::string& path) { open_picture(path); },
        [](const std::string& path) { open_movie(path); },
        [](const std::string& path) { open_volume(path); }};
    for (const auto& read : readers) {
        for (const std::string& path : {places.missing, places.unreadable, places.dangling}) {
            const WithoutPrivilege user;
            const std::string text = refusal([&] { read(path); });
            EXPECT_EQ(text.find(path + ": "), 0u) << path << " gave " << text;
        }
    }
}

void write_movie(const std::string& path) {
    const auto movie = create_movie(path, {.rows = 60, .cols = 70, .frame_count = 4});
    for (unsigned n = 0; n < 4; ++n)
        movie->add(*make_random(60, 70, 0, n, true));
    movie->finish();
}

void write_volume(const std::string& path) {
    CVolume volume(3, 60, 70, 0, 21, 6);
    save_volume(volume, path, {.force = true});
}

TEST(HostsAtBadPlaces, WritersLeaveWhatWasThere) {
    std::vector<std::pair<std::string, std::function<void(const std::string&)>>> writers;
    for (const PictureFormat& format : picture_formats()) {
        if (!format.writes)
            continue;
        const int type = format.name == "PPM" ? 1 : 0;
        const bool is_black_and_white = format.name == "PBM";
        writers.emplace_back(format.endings[0], [=](const std::string& path) {
            const auto white = [](int, int) { return 255.0f; };
            save_picture(is_black_and_white ? *make_gray(60, 70, white)
                                            : *make_random(60, 70, type, 1, true),
                         path);
        });
    }
    for (const char* const ending : {".tq", ".avi"})
        writers.emplace_back(ending, write_movie);
#ifdef VORLANE_HAS_FFMPEG
    for (const char* const ending : {".mp4", ".mkv", ".gif"})
        writers.emplace_back(ending, write_movie);
#endif
    writers.emplace_back(".txt", write_volume);
    for (const auto& [ending, write] : writers) {
        SCOPED_TRACE(ending);
        const BadPlaces places;
        const std::string path = places.folder.write("older" + ending, "older");
        const auto before = names_in(places.folder.path());
        {
            const FullDisk disk(100);
            EXPECT_NE(refusal([&, write_it = write] { write_it(path); }), "");
        }
        EXPECT_EQ(places.folder.read("older" + ending), "older");
        EXPECT_EQ(names_in(places.folder.path()), before);
        for (const std::string& bad : {places.missing + ending, places.in_closed_folder + ending}) {
            const WithoutPrivilege user;
            const std::string text = refusal([&, write_it = write] { write_it(bad); });
            EXPECT_EQ(text.find(bad.substr(0, bad.rfind('.'))), 0u) << text;
        }
        EXPECT_EQ(names_in(places.folder.path()), before);
        EXPECT_TRUE(fs::is_empty(places.folder.path("closed")));
    }
}

} // namespace
