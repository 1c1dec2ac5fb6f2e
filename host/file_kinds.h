// Kinds of files, told by their first bytes, whether this build reads them or not.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace vorlane::host {

enum class Family { picture, movie, volume, other };

struct FileKind {
    std::string_view name; // "PNG", "HEIC", "ZIP archive"
    Family family;
};

// The kind of a file that begins like this (4096 bytes are enough); null if it is none that is
// known. Text of any sort is a kind, and so is an empty file.
const FileKind* kind_of(std::span<const unsigned char> head);

std::string in_small_letters(std::string text);

// ".png" of "Photo.PNG".
std::string ending_of(const std::string& path);

} // namespace vorlane::host
