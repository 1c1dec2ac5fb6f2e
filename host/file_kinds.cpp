#include "host/file_kinds.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <string>

#include <vorlane/platform/system_paths.h>

namespace vorlane::host {

namespace {

using Head = std::string_view;
using namespace std::string_view_literals;

bool is_one_of(Head text, std::initializer_list<std::string_view> choices) {
    return std::find(choices.begin(), choices.end(), text) != choices.end();
}

// The brand of a file of boxes: HEIC, AVIF, MP4 and their kin.
bool has_brand(Head head, std::initializer_list<std::string_view> brands) {
    return head.size() >= 12 && head.substr(4, 4) == "ftyp" && is_one_of(head.substr(8, 4), brands);
}

bool is_riff(Head head, std::string_view form) {
    return head.size() >= 12 && head.starts_with("RIFF") && head.substr(8, 4) == form;
}

bool is_portable_map(Head head, std::string_view digits) {
    return head.size() >= 3 && head[0] == 'P' && digits.find(head[1]) != Head::npos &&
           (std::isspace(static_cast<unsigned char>(head[2])) || head[2] == '#');
}

// A data set with or without the preamble: then it starts with a low group and a plausible element.
bool is_dicom(Head head) {
    if (head.size() >= 132 && head.substr(128, 4) == "DICM")
        return true;
    if (head.size() < 8 || head[1] != 0 || (head[0] != 2 && head[0] != 8) || head[3] != 0 ||
        static_cast<unsigned char>(head[2]) > 0x18)
        return false;
    const bool explicit_type = is_one_of(head.substr(4, 2), {"UL", "UI", "OB", "SH", "CS", "DA"});
    const bool implicit_length = head[6] == 0 && head[7] == 0 && head[5] == 0;
    return explicit_type || implicit_length;
}

// Printable characters and blanks only, in any encoding that leaves ASCII alone.
bool is_text(Head head) {
    return std::all_of(head.begin(), head.end(), [](char c) {
        const auto code = static_cast<unsigned char>(c);
        return code >= 32 ? code != 127
                          : code == '\t' || code == '\n' || code == '\r' || code == '\f';
    });
}

bool is_text_with(Head head, std::string_view mark) {
    return is_text(head) && head.find(mark) != Head::npos;
}

bool is_volume_description(Head head) {
    return (head.starts_with("V1") || head.starts_with("V2")) && is_text_with(head, "=");
}

struct Sign {
    FileKind kind;
    bool (*fits)(Head head);
};

using enum Family;

constexpr Sign signs[] = {
    {{"an empty file", other}, [](Head h) { return h.empty(); }},
    {{"PNG", picture}, [](Head h) { return h.starts_with("\x89PNG\r\n\x1A\n"); }},
    {{"JPEG", picture}, [](Head h) { return h.starts_with("\xFF\xD8\xFF"); }},
    {{"TIFF", picture},
     [](Head h) {
         return h.starts_with("II*\0"sv) || h.starts_with("MM\0*"sv) || h.starts_with("II+\0"sv) ||
                h.starts_with("MM\0+"sv);
     }},
    {{"PBM", picture}, [](Head h) { return is_portable_map(h, "14"); }},
    {{"PGM", picture}, [](Head h) { return is_portable_map(h, "25"); }},
    {{"PPM", picture}, [](Head h) { return is_portable_map(h, "36"); }},
    {{"PAM", picture}, [](Head h) { return h.starts_with("P7\n"); }},
    {{"PFM", picture}, [](Head h) { return is_portable_map(h, "Ff"); }},
    {{"DICOM", picture}, is_dicom},
    {{"BMP", picture},
     [](Head h) {
         return h.size() >= 14 && h.starts_with("BM") && h[6] == 0 && h[7] == 0 && h[8] == 0 &&
                h[9] == 0;
     }},
    {{"TQ", picture},
     [](Head h) { return h.starts_with("TQ") && (h.size() < 3 || h[2] == '\n' || h[2] == '\r'); }},
    {{"HEIC", picture},
     [](Head h) {
         return has_brand(h, {"heic", "heix", "hevc", "hevx", "mif1", "msf1", "heim"});
     }},
    {{"AVIF", picture},
     [](Head h) {
         return has_brand(h, {"avif", "avis"});
     }},
    {{"WebP", picture}, [](Head h) { return is_riff(h, "WEBP"); }},
    {{"GIF", movie}, [](Head h) { return h.starts_with("GIF87a") || h.starts_with("GIF89a"); }},
    {{"JPEG XL", picture},
     [](Head h) {
         return h.starts_with("\xFF\x0A") || h.starts_with("\0\0\0\x0CJXL \r\n\x87\n"sv);
     }},
    {{"JPEG 2000", picture},
     [](Head h) {
         return h.starts_with("\xFF\x4F\xFF\x51") || h.starts_with("\0\0\0\x0CjP  \r\n\x87\n"sv);
     }},
    {{"OpenEXR", picture}, [](Head h) { return h.starts_with("\x76\x2F\x31\x01"); }},
    {{"Photoshop document", picture}, [](Head h) { return h.starts_with("8BPS"); }},
    {{"FITS", picture}, [](Head h) { return h.starts_with("SIMPLE  ="); }},
    {{"icon", picture},
     [](Head h) { return h.starts_with("\0\0\1\0"sv) && h.size() > 5 && h[4] != 0 && h[5] == 0; }},
    {{"AVI", movie}, [](Head h) { return is_riff(h, "AVI "); }},
    {{"Matroska or WebM", movie}, [](Head h) { return h.starts_with("\x1A\x45\xDF\xA3"); }},
    {{"MPEG", movie},
     [](Head h) {
         return h.starts_with("\0\0\1\xBA"sv) || h.starts_with("\0\0\1\xB3"sv) ||
                (h.size() > 188 && h[0] == 0x47 && h[188] == 0x47);
     }},
    {{"Ogg", movie}, [](Head h) { return h.starts_with("OggS"); }},
    {{"YUV4MPEG", movie}, [](Head h) { return h.starts_with("YUV4MPEG2"); }},
    {{"MP4 or QuickTime", movie},
     [](Head h) {
         return h.size() >= 12 &&
                is_one_of(h.substr(4, 4), {"ftyp", "moov", "mdat", "wide", "free"});
     }},
    {{"volume description", volume}, is_volume_description},
    {{"NRRD", volume}, [](Head h) { return h.starts_with("NRRD000"); }},
    {{"MetaImage", volume},
     [](Head h) { return h.starts_with("ObjectType =") || h.starts_with("NDims ="); }},
    {{"NIfTI", volume},
     [](Head h) {
         return h.size() >= 348 && is_one_of(h.substr(344, 4), {"n+1\0"sv, "ni1\0"sv});
     }},
    {{"PDF", other}, [](Head h) { return h.starts_with("%PDF-"); }},
    {{"PostScript", other}, [](Head h) { return h.starts_with("%!PS"); }},
    {{"ZIP archive", other},
     [](Head h) { return h.starts_with("PK\3\4") || h.starts_with("PK\5\6"); }},
    {{"gzip", other}, [](Head h) { return h.starts_with("\x1F\x8B"); }},
    {{"xz", other},
     [](Head h) {
         return h.starts_with("\xFD"
                              "7zXZ\0"sv);
     }},
    {{"Zstandard", other}, [](Head h) { return h.starts_with("\x28\xB5\x2F\xFD"); }},
    {{"bzip2", other}, [](Head h) { return h.starts_with("BZh"); }},
    {{"7-Zip archive", other}, [](Head h) { return h.starts_with("7z\xBC\xAF\x27\x1C"); }},
    {{"tar archive", other}, [](Head h) { return h.size() > 262 && h.substr(257, 5) == "ustar"; }},
    {{"HDF5", other}, [](Head h) { return h.starts_with("\x89HDF\r\n\x1A\n"); }},
    {{"NumPy array", other}, [](Head h) { return h.starts_with("\x93NUMPY"); }},
    {{"program", other},
     [](Head h) {
         return h.starts_with("\x7F"
                              "ELF") ||
                h.starts_with("MZ") || h.starts_with("#!") || h.starts_with("\xCF\xFA\xED\xFE");
     }},
    {{"SVG", picture}, [](Head h) { return is_text_with(h, "<svg"); }},
    {{"HTML", other},
     [](Head h) { return is_text_with(h, "<html") || is_text_with(h, "<!DOCTYPE html"); }},
    {{"text", other}, is_text},
};

} // namespace

const FileKind* kind_of(std::span<const unsigned char> head) {
    const Head text(reinterpret_cast<const char*>(head.data()), head.size());
    const auto* const sign = std::find_if(std::begin(signs), std::end(signs),
                                          [&](const Sign& s) { return s.fits(text); });
    return sign == std::end(signs) ? nullptr : &sign->kind;
}

std::string in_small_letters(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::string ending_of(const std::string& path) {
    return in_small_letters(utf8_of(path_of(path).extension()));
}

} // namespace vorlane::host
