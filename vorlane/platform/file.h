// A binary file that throws when it can't do what it is asked; std::bad_alloc where there is no memory
// to say so, or to open it.
#pragma once

#include <cstdio>
#include <stdexcept>
#include <string>

#include <vorlane/platform/export.h>
#ifndef VORLANE_HOST_CLASSES
// Its text names the path and the cause.
class VORLANE_API CFileException : public std::runtime_error {
public:
    explicit CFileException(const std::string& text) : std::runtime_error(text) {}
    CFileException(const CFileException&) = default;
    CFileException& operator=(const CFileException&) = default;
    ~CFileException() override;
};

class CFile;

namespace vorlane {
// A file that is open already, which it closes.
CFile file_on(std::FILE* stream, const char* path);
} // namespace vorlane

class VORLANE_API CFile {
public:
    enum OpenFlags : unsigned { modeRead = 0, modeWrite = 1, modeCreate = 4096 };

    // Opens the file: flags 0 for reading; 4097 (modeCreate and modeWrite) makes it, or empties it
    // if it exists, and opens it for writing; 1 alone writes into a file that exists. Throws
    // CFileException if that fails, for a folder, and for reading also if it isn't a plain file.
    CFile(const char* path, unsigned flags);

    // Closes the file, silently also when what was written last doesn't reach it: call Close to
    // know.
    ~CFile();

    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    // Reads up to `count` bytes and returns how many there were: fewer only at the end of the file.
    // Throws CFileException if reading fails.
    unsigned Read(void* buffer, unsigned count);

    // Writes `count` bytes; throws CFileException if they don't all fit.
    void Write(const void* buffer, unsigned count);

    // The length of the file in bytes, with what is still pending, and the place of the next byte;
    // 0 for a pipe or a device.
    long long GetLength() const;
    long long GetPosition() const;

    // Writes what is still pending and closes; throws CFileException if that fails. The file counts
    // as closed all the same, and closing it again does nothing.
    void Close();

private:
    friend CFile vorlane::file_on(std::FILE* stream, const char* path);

    VORLANE_LOCAL CFile(std::FILE* stream, std::string path);

    std::FILE* stream_ = nullptr;
    std::string path_;
};
#endif
