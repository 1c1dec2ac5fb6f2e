#include "host/platform/files.h"

#include <algorithm>
#include <cerrno>
#include <cwctype>
#include <filesystem>
#include <memory>
#include <random>
#include <string_view>
#include <system_error>

#include <vorlane/platform/system_files.h>
#include <vorlane/platform/system_paths.h>
#include <vorlane/platform/windows/wide.h>

#include <io.h>

namespace vorlane::host {

namespace {

namespace fs = std::filesystem;

HANDLE handle_of(std::intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

HANDLE open_handle(const std::string& path, DWORD access) {
    // Others may read, write, rename and remove it meanwhile, as on other systems.
    constexpr DWORD anybody = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    return CreateFileW(path_of(path).c_str(), access, anybody, nullptr, OPEN_EXISTING,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Reads of more than this at once are nowhere faster, and the system counts in 32 bits.
constexpr std::size_t largest_read = 1 << 24;

std::size_t read_all(HANDLE file, void* to, std::size_t count, OVERLAPPED* place) {
    std::size_t done = 0;
    while (done < count) {
        const auto part = static_cast<DWORD>(std::min(count - done, largest_read));
        DWORD got = 0;
        if (!ReadFile(file, static_cast<unsigned char*>(to) + done, part, &got, place) || got == 0)
            break;
        done += got;
        if (place) {
            const std::uint64_t next =
                (std::uint64_t{place->OffsetHigh} << 32 | place->Offset) + got;
            place->Offset = static_cast<DWORD>(next);
            place->OffsetHigh = static_cast<DWORD>(next >> 32);
        }
    }
    return done;
}

// Fails with EEXIST where the name is taken.
int make_new(const std::string& path) {
    const FileHandle file(open_file(path.c_str(), "wx"));
    return file ? 0 : errno;
}

int make(const std::string& start, std::string& path) {
    std::random_device random;
    constexpr int most_tries = 100;
    int failure = EEXIST;
    for (int k = 0; k < most_tries && failure == EEXIST; ++k) {
        constexpr char letters[] = "abcdefghijklmnopqrstuvwxyz012345";
        path = start;
        for (unsigned bits = random(), n = 0; n < 6; ++n, bits >>= 5)
            path += letters[bits & 31];
        failure = make_new(path);
    }
    return failure;
}

// One letter of a pattern, or a set of them, against one of a name; `pattern` begins behind it then.
bool takes(std::wstring_view& pattern, wchar_t letter) {
    const std::size_t end = pattern[0] == L'[' ? pattern.find(L']', 2) : std::wstring_view::npos;
    const wchar_t small = static_cast<wchar_t>(std::towlower(letter));
    if (end == std::wstring_view::npos) {
        const bool is_taken =
            pattern[0] == L'?' || std::towlower(pattern[0]) == static_cast<wint_t>(small);
        pattern.remove_prefix(1);
        return is_taken;
    }
    std::wstring_view set = pattern.substr(1, end - 1);
    pattern.remove_prefix(end + 1);
    const bool is_turned = set[0] == L'!' || set[0] == L'^';
    set.remove_prefix(is_turned ? 1 : 0);
    bool is_in = false;
    for (std::size_t k = 0; k < set.size(); ++k) {
        const bool is_range = k + 2 < set.size() && set[k + 1] == L'-';
        const auto first = std::towlower(set[k]);
        const auto last = std::towlower(set[is_range ? k + 2 : k]);
        is_in =
            is_in || (first <= static_cast<wint_t>(small) && static_cast<wint_t>(small) <= last);
        k += is_range ? 2 : 0;
    }
    return is_in != is_turned;
}

// Small and capital letters are the same, as in the names of files here.
bool matches(std::wstring_view pattern, std::wstring_view name) {
    if (pattern.empty())
        return name.empty();
    if (pattern[0] == L'*') {
        for (std::size_t k = 0; k <= name.size(); ++k) {
            if (matches(pattern.substr(1), name.substr(k)))
                return true;
        }
        return false;
    }
    return !name.empty() && takes(pattern, name[0]) && matches(pattern, name.substr(1));
}

bool is_pattern(const std::wstring& name) {
    return name.find_first_of(L"*?[") != std::wstring::npos;
}

} // namespace

Place place_of(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path_of(path), error);
    if (error || !fs::exists(status))
        return Place::nothing;
    if (fs::is_directory(status))
        return Place::folder;
    const HANDLE file = open_handle(path, 0);
    const bool is_plain = file == INVALID_HANDLE_VALUE || GetFileType(file) == FILE_TYPE_DISK;
    if (file != INVALID_HANDLE_VALUE)
        CloseHandle(file);
    return is_plain ? Place::file : Place::device;
}

bool id_of(const std::string& path, FileId& id) {
    const HANDLE file = open_handle(path, 0);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    BY_HANDLE_FILE_INFORMATION about;
    const bool is_told =
        GetFileType(file) == FILE_TYPE_DISK && GetFileInformationByHandle(file, &about);
    if (is_told)
        id = {about.dwVolumeSerialNumber,
              std::uint64_t{about.nFileIndexHigh} << 32 | about.nFileIndexLow};
    CloseHandle(file);
    return is_told;
}

InputFile::~InputFile() {
    if (handle_ != -1)
        CloseHandle(handle_of(handle_));
}

int InputFile::open(const std::string& path) {
    if (path == "-") {
        HANDLE own = INVALID_HANDLE_VALUE;
        if (!DuplicateHandle(GetCurrentProcess(), GetStdHandle(STD_INPUT_HANDLE),
                             GetCurrentProcess(), &own, 0, FALSE, DUPLICATE_SAME_ACCESS))
            return EBADF;
        handle_ = reinterpret_cast<std::intptr_t>(own);
        return 0;
    }
    switch (place_of(path)) {
    case Place::nothing:
        return ENOENT;
    case Place::folder:
        return EISDIR;
    case Place::file:
    case Place::device:
        break;
    }
    const HANDLE file = open_handle(path, GENERIC_READ);
    if (file == INVALID_HANDLE_VALUE)
        return EACCES;
    handle_ = reinterpret_cast<std::intptr_t>(file);
    LARGE_INTEGER size;
    is_plain_file_ = GetFileType(file) == FILE_TYPE_DISK && GetFileSizeEx(file, &size);
    size_ = is_plain_file_ ? size.QuadPart : 0;
    return 0;
}

std::size_t InputFile::read(void* to, std::size_t count) {
    return read_all(handle_of(handle_), to, count, nullptr);
}

std::size_t InputFile::read_at(std::int64_t offset, void* to, std::size_t count) {
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return read_all(handle_of(handle_), to, count, &place);
}

// Permissions come from the folder.
int make_file(const std::string& start, const std::string&, std::string& path) {
    return make(start + ".", path);
}

int make_temporary_file(std::string& path) {
    std::error_code error;
    const fs::path folder = fs::temp_directory_path(error);
    return error ? ENOENT : make(utf8_of(folder / "vorlane-"), path);
}

int copy_file_to(const std::string& from, const std::string& to) {
    InputFile source;
    if (const int failure = source.open(from))
        return failure;
    const HANDLE file =
        to.empty() ? GetStdHandle(STD_OUTPUT_HANDLE) : open_handle(to, GENERIC_WRITE);
    if (file == INVALID_HANDLE_VALUE)
        return EACCES;
    constexpr std::size_t block_size = 1 << 16;
    const auto block = std::make_unique_for_overwrite<char[]>(block_size);
    bool is_written = true;
    while (is_written) {
        const std::size_t count = source.read(block.get(), block_size);
        if (count == 0)
            break;
        for (std::size_t done = 0; is_written && done < count;) {
            DWORD written = 0;
            is_written = WriteFile(file, block.get() + done, static_cast<DWORD>(count - done),
                                   &written, nullptr) != 0;
            done += written;
        }
    }
    if (!to.empty())
        CloseHandle(file);
    return is_written ? 0 : EIO;
}

bool set_length(std::FILE* stream, std::int64_t length) {
    return _chsize_s(_fileno(stream), length) == 0;
}

std::vector<std::string> paths_like(const std::string& pattern) {
    const fs::path whole = path_of(pattern);
    std::vector<fs::path> found = {whole.root_path()};
    for (const fs::path& part : whole.relative_path()) {
        std::vector<fs::path> next;
        for (const fs::path& folder : found) {
            std::error_code error;
            if (!is_pattern(part.native())) {
                if (fs::exists(folder / part, error))
                    next.push_back(folder / part);
                continue;
            }
            for (fs::directory_iterator at(folder.empty() ? "." : folder, error), end;
                 !error && at != end; at.increment(error)) {
                if (matches(part.native(), at->path().filename().native()))
                    next.push_back(folder / at->path().filename());
            }
        }
        found = std::move(next);
    }
    std::vector<std::string> paths;
    for (const fs::path& path : found)
        paths.push_back(utf8_of(path));
    std::sort(paths.begin(), paths.end());
    return paths;
}

} // namespace vorlane::host
