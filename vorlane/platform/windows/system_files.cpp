#include <vorlane/platform/system_files.h>
#include <vorlane/platform/system_paths.h>

#include <cerrno>
#include <cstring>
#include <cwchar>
#include <filesystem>
#include <string>
#include <system_error>

#include <vorlane/platform/windows/wide.h>

#include <fcntl.h>
#include <io.h>

namespace vorlane {

namespace {

// As the C library knows the failures that tell themselves apart.
int cause_of(DWORD error) {
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
        return ENOENT;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
        return EEXIST;
    case ERROR_NOT_ENOUGH_MEMORY:
        return ENOMEM;
    default:
        return EACCES;
    }
}

HANDLE open_handle(const std::filesystem::path& path, DWORD access, DWORD creation) {
    // Others may read, write, rename and remove it meanwhile, as on other systems.
    constexpr DWORD anybody = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    return CreateFileW(path.c_str(), access, anybody, nullptr, creation, FILE_ATTRIBUTE_NORMAL,
                       nullptr);
}

HANDLE handle_of(std::FILE* stream) {
    return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
}

bool is_plain_file(std::FILE* stream) {
    return GetFileType(handle_of(stream)) == FILE_TYPE_DISK;
}

// The system's numbers of a file; false if it has none.
bool numbers_of(HANDLE file, BY_HANDLE_FILE_INFORMATION& numbers) {
    return file != INVALID_HANDLE_VALUE && GetFileInformationByHandle(file, &numbers);
}

} // namespace

std::filesystem::path path_of(const std::string& utf8) {
    return wide(utf8.c_str());
}

std::string utf8_of(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

std::FILE* open_file(const char* path, const char* mode) {
    if (!path || !*path) {
        errno = ENOENT;
        return nullptr;
    }
    const std::filesystem::path file = path_of(path);
    std::error_code error;
    if (std::filesystem::is_directory(file, error)) {
        errno = EISDIR;
        return nullptr;
    }
    const bool reads = mode[0] == 'r';
    const bool is_changed = std::strchr(mode, '+') != nullptr;
    const DWORD access =
        (reads || is_changed ? GENERIC_READ : 0) | (!reads || is_changed ? GENERIC_WRITE : 0);
    const DWORD creation = reads                    ? OPEN_EXISTING
                           : std::strchr(mode, 'x') ? CREATE_NEW
                                                    : CREATE_ALWAYS;
    const HANDLE handle = open_handle(file, access, creation);
    if (handle == INVALID_HANDLE_VALUE) {
        errno = cause_of(GetLastError());
        return nullptr;
    }
    if (reads && GetFileType(handle) != FILE_TYPE_DISK) {
        CloseHandle(handle);
        errno = ESPIPE;
        return nullptr;
    }
    const int descriptor = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle),
                                           _O_BINARY | (access == GENERIC_READ ? _O_RDONLY : 0));
    if (descriptor < 0) {
        CloseHandle(handle);
        return nullptr;
    }
    const char binary[] = {mode[0], 'b', is_changed ? '+' : '\0', '\0'};
    std::FILE* const stream = _fdopen(descriptor, binary);
    if (!stream)
        _close(descriptor);
    return stream;
}

std::int64_t bytes_left(std::FILE* stream) {
    const std::int64_t position = position_of(stream);
    if (position < 0 || !is_plain_file(stream))
        return 0;
    const std::int64_t length = _filelengthi64(_fileno(stream));
    return length > position ? length - position : 0;
}

std::int64_t position_of(std::FILE* stream) {
    return _ftelli64(stream);
}

bool seek_to(std::FILE* stream, std::int64_t offset) {
    return offset >= 0 && _fseeki64(stream, offset, SEEK_SET) == 0;
}

bool seek_by(std::FILE* stream, std::int64_t offset) {
    return _fseeki64(stream, offset, SEEK_CUR) == 0;
}

bool seek_from_end(std::FILE* stream, std::int64_t offset) {
    return _fseeki64(stream, offset, SEEK_END) == 0;
}

void remove_file(const std::string& path) {
    const std::filesystem::path file = path_of(path);
    // A file that is open goes when it is closed, and keeps its name until then: not this one.
    for (int k = 0; k < 10000; ++k) {
        const std::filesystem::path aside =
            file.parent_path() /
            (".vorlane-gone-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(k));
        if (MoveFileExW(file.c_str(), aside.c_str(), 0)) {
            DeleteFileW(aside.c_str());
            return;
        }
        if (cause_of(GetLastError()) != EEXIST)
            break;
    }
    DeleteFileW(file.c_str());
}

bool replace_file(const std::string& path, const std::string& other) {
    const std::filesystem::path from = path_of(path);
    const std::filesystem::path to = path_of(other);
    if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING))
        return true;
    remove_file(other);
    return MoveFileExW(from.c_str(), to.c_str(), 0) != 0;
}

bool close_written(FileHandle& file) {
    const bool failed = std::fflush(file.get()) != 0 || std::ferror(file.get()) != 0;
    return std::fclose(file.release()) == 0 && !failed;
}

bool is_for_reading_only(std::FILE* stream) {
    return (stream->_flag & (_IOREAD | _IOWRT | _IORW)) == _IOREAD;
}

bool is_for_writing_only(std::FILE* stream) {
    return (stream->_flag & (_IOREAD | _IOWRT | _IORW)) == _IOWRT;
}

bool is_same_file(std::FILE* stream, const char* path) {
    if (!path || !*path)
        return false;
    BY_HANDLE_FILE_INFORMATION open, named;
    const HANDLE other = open_handle(path_of(path), 0, OPEN_EXISTING);
    const bool is_same = numbers_of(other, named) && numbers_of(handle_of(stream), open) &&
                         open.dwVolumeSerialNumber == named.dwVolumeSerialNumber &&
                         open.nFileIndexHigh == named.nFileIndexHigh &&
                         open.nFileIndexLow == named.nFileIndexLow;
    if (other != INVALID_HANDLE_VALUE)
        CloseHandle(other);
    return is_same;
}

bool may_be_written(const char* path) {
    if (!path || !*path)
        return false;
    std::error_code error;
    const std::filesystem::path file = path_of(path);
    if (std::filesystem::is_directory(file, error))
        return false;
    if (std::filesystem::exists(file, error))
        return _waccess(file.c_str(), 2) == 0;
    const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
    return std::filesystem::is_directory(folder, error);
}

// The folder for temporary files is each user's own here.
std::string private_folder() {
    std::error_code error;
    const std::filesystem::path shared = std::filesystem::temp_directory_path(error);
    if (error)
        return {};
    const std::filesystem::path folder = shared / "vorlane" / std::to_string(GetCurrentProcessId());
    std::filesystem::create_directories(folder, error);
    return error ? std::string() : utf8_of(folder);
}

std::string path_from_library(const char* relative) {
    static const char anchor = 0;
    HMODULE module = nullptr;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            reinterpret_cast<LPCWSTR>(&anchor), &module))
        return {};
    std::wstring name(32768, L'\0'); // the longest path that the system knows
    name.resize(GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size())));
    if (name.empty())
        return {};
    return utf8_of((std::filesystem::path(name).parent_path() / relative).lexically_normal());
}

} // namespace vorlane
