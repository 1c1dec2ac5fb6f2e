// What every sub-command needs of the library as a host: images in and out of files, and messages
// turned into errors.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include <vorlane/vorlane.h>

using ImagePtr = std::unique_ptr<CImage>;

// Ends the program with this line on standard error and exit status 1.
class CommandError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// From now on the library's messages are kept for the error that follows, and its questions are
// answered OK.
void collect_messages();

// The first message since the last call, or `otherwise` if there was none.
std::string take_message(const std::string& otherwise);

// The result of an operation, or an error that says `what` failed.
ImagePtr checked(CImage* result, const std::string& what);

// For options: accepts what is above 0 and finite.
std::string check_positive(const std::string& text);

// Reads an image in whatever format it has.
ImagePtr load(const std::string& path);

// The code of the format that the ending of `path` stands for; an error if it stands for none.
int format_of_ending(const std::string& path);

// Writes the image in the format of the path's ending: to a new file beside the old one, which
// takes its place only when it is whole.
void save(CImage& image, const std::string& path);

// The same by any writer: write(temporary path) returns 1, or 0 after a message.
template<class Write>
void save_whole(const std::string& path, Write write);

// A file that appears under its name only when it is committed, and leaves nothing behind
// otherwise.
class PendingFile {
public:
    explicit PendingFile(const std::string& path);
    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    const std::string& path() const { return temporary_; }
    void commit();

private:
    std::string final_;
    std::string temporary_;
    bool is_pending_ = true;
};

template<class Write>
void save_whole(const std::string& path, Write write) {
    PendingFile file(path);
    if (!write(file.path().c_str()))
        throw CommandError(path + ": " + take_message("Can't write this image in that format"));
    file.commit();
}
