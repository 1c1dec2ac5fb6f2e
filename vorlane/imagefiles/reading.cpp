#include <vorlane/imagefiles/reading.h>

#include <utility>

#include <vorlane/image/failure.h>
#include <vorlane/image/guard.h>

namespace vorlane {

namespace {

Picture refuse(const ImageReader& reader) {
    if (reader.cant_open)
        show_failure(reader.cant_open);
    return {};
}

} // namespace

Picture read_opened(FileHandle file, const char* path, const ImageReader& reader) {
    Picture picture = guarded([&] {
        Picture found;
        reader.read(file, path, found);
        return found;
    });
    return file && std::ferror(file.get()) ? refuse(reader) : std::move(picture);
}

Picture read_named(const char* path, const ImageReader& reader) {
    FileHandle file(open_file(path, "rb"));
    return file ? read_opened(std::move(file), path, reader) : refuse(reader);
}

} // namespace vorlane
