#include "host/dicom.h"

#include <cmath>
#include <filesystem>

#include <dcmtk/config/osconfig.h>
// The configuration comes first.
#include <dcmtk/dcmdata/dcrledrg.h>
#include <dcmtk/dcmdata/dctk.h>
#include <dcmtk/dcmimage/diregist.h>
#include <dcmtk/dcmimgle/dcmimage.h>
#include <dcmtk/dcmjpeg/djdecode.h>
#include <dcmtk/dcmjpls/djdecode.h>
#include <dcmtk/oflog/oflog.h>

#include <vorlane/platform/system_paths.h>

#include "host/error.h"
#include "host/source.h"

namespace vorlane::host {

namespace {

struct Codecs {
    Codecs() {
        OFLog::configure(OFLogger::OFF_LOG_LEVEL);
        DJDecoderRegistration::registerCodecs();
        DJLSDecoderRegistration::registerCodecs();
        DcmRLEDecoderRegistration::registerCodecs();
    }
    ~Codecs() {
        DcmRLEDecoderRegistration::cleanup();
        DJLSDecoderRegistration::cleanup();
        DJDecoderRegistration::cleanup();
    }
};

void prepare() {
    static const Codecs codecs;
}

std::string text_of(DcmItem& item, const DcmTagKey& key) {
    OFString text;
    item.findAndGetOFString(key, text);
    return text.c_str();
}

template<std::size_t n>
std::optional<std::array<double, n>> numbers_of(DcmItem& item, const DcmTagKey& key) {
    std::array<double, n> numbers{};
    for (std::size_t k = 0; k < n; ++k) {
        if (item.findAndGetFloat64(key, numbers[k], k).bad() || !std::isfinite(numbers[k]))
            return std::nullopt;
    }
    return numbers;
}

// Decimal or whole: the two are kinds of their own.
double number_of(DcmItem& item, const DcmTagKey& key, double otherwise) {
    Sint32 whole = 0;
    if (item.findAndGetSint32(key, whole).good())
        return whole;
    return numbers_of<1>(item, key).value_or(std::array<double, 1>{otherwise})[0];
}

// Where a frame of many states what others state for the whole file.
void read_place(DcmItem& item, DicomPlace& place) {
    if (const auto position = numbers_of<3>(item, DCM_ImagePositionPatient))
        place.position = position;
    if (const auto orientation = numbers_of<6>(item, DCM_ImageOrientationPatient))
        place.orientation = orientation;
    auto spacing = numbers_of<2>(item, DCM_PixelSpacing);
    if (!spacing)
        spacing = numbers_of<2>(item, DCM_ImagerPixelSpacing);
    if (spacing) {
        place.row_spacing = (*spacing)[0];
        place.col_spacing = (*spacing)[1];
    }
    place.thickness = number_of(item, DCM_SliceThickness, place.thickness);
    place.slope = number_of(item, DCM_RescaleSlope, place.slope);
    place.intercept = number_of(item, DCM_RescaleIntercept, place.intercept);
}

void read_groups(DcmItem& groups, DicomPlace& place) {
    for (const DcmTagKey& key : {DCM_PlanePositionSequence, DCM_PlaneOrientationSequence,
                                 DCM_PixelMeasuresSequence, DCM_PixelValueTransformationSequence}) {
        DcmItem* item = nullptr;
        if (groups.findAndGetSequenceItem(key, item).good() && item)
            read_place(*item, place);
    }
}

} // namespace

struct DicomFile::Parts {
    DcmFileFormat file;
    bool is_decoded = false;
    int stored_bits = 8, allocated_bits = 8, high_bit = 7;
    std::unique_ptr<DicomImage> painted; // of colour files

    DcmDataset& data() { return *file.getDataset(); }
};

DicomFile::DicomFile(const std::string& path, const std::string& name)
    : parts_(std::make_unique<Parts>()), name_(name) {
    prepare();
    constexpr Uint32 longest_value = 4096; // longer ones, pixels above all, stay in the file
    if (parts_->file
            .loadFile(path.c_str(), EXS_Unknown, EGL_noChange, longest_value, ERM_autoDetect)
            .bad())
        throw Error(name + ": isn't a DICOM file, or is cut short");
    DcmDataset& data = parts_->data();
    Uint16 row_count = 0, col_count = 0, allocated = 0, stored = 0, high = 0, sign = 0, samples = 1;
    data.findAndGetUint16(DCM_Rows, row_count);
    data.findAndGetUint16(DCM_Columns, col_count);
    data.findAndGetUint16(DCM_BitsAllocated, allocated);
    data.findAndGetUint16(DCM_BitsStored, stored);
    data.findAndGetUint16(DCM_HighBit, high);
    data.findAndGetUint16(DCM_PixelRepresentation, sign);
    data.findAndGetUint16(DCM_SamplesPerPixel, samples);
    const bool has_pixels = data.tagExists(DCM_PixelData);
    const bool has_image = row_count > 0 && col_count > 0 && has_pixels;
    if (has_image) {
        rows = row_count;
        cols = col_count;
    }
    frames = static_cast<int>(number_of(data, DCM_NumberOfFrames, 1.0));
    const std::string colours = text_of(data, DCM_PhotometricInterpretation);
    is_gray = samples == 1 && colours.rfind("MONOCHROME", 0) == 0;
    is_inverted = colours == "MONOCHROME1";
    bits = stored;
    has_sign = sign != 0;
    series = text_of(data, DCM_SeriesInstanceUID);
    description = text_of(data, DCM_SeriesDescription);
    modality = text_of(data, DCM_Modality);
    study_date = text_of(data, DCM_StudyDate);
    number = static_cast<int>(number_of(data, DCM_InstanceNumber, 0.0));
    const double frame_time = number_of(data, DCM_FrameTime, 0.0);
    rate = frame_time > 0.0 ? 1000.0 / frame_time : number_of(data, DCM_CineRate, 0.0);
    centre = number_of(data, DCM_WindowCenter, 0.0);
    width = number_of(data, DCM_WindowWidth, 0.0);
    if (!has_image)
        return;
    std::error_code error;
    const auto size = static_cast<std::int64_t>(std::filesystem::file_size(path_of(path), error));
    if (frames < 1 || error ||
        !sizes_are_believable(rows, cols, std::int64_t{samples} * frames, (allocated + 7) / 8,
                              size))
        throw Error(name + ": its sizes aren't believable of its length");
    if (is_gray && ((allocated != 8 && allocated != 16 && allocated != 32) || stored < 1 ||
                    stored > allocated || high + 1 < stored || high >= allocated))
        throw Error(name + ": has samples of " + std::to_string(stored) + " of " +
                    std::to_string(allocated) + " bits, which aren't read");
    parts_->stored_bits = stored;
    parts_->allocated_bits = allocated;
    parts_->high_bit = high;
}

DicomFile::~DicomFile() = default;

DicomPlace DicomFile::place(int frame) const {
    DicomPlace place;
    DcmDataset& data = parts_->data();
    read_place(data, place);
    DcmItem* groups = nullptr;
    if (data.findAndGetSequenceItem(DCM_SharedFunctionalGroupsSequence, groups).good() && groups)
        read_groups(*groups, place);
    if (data.findAndGetSequenceItem(DCM_PerFrameFunctionalGroupsSequence, groups, frame).good() &&
        groups)
        read_groups(*groups, place);
    return place;
}

ImagePtr DicomFile::image(int frame) {
    if (rows == 0)
        throw Error(name_ + ": is a DICOM file without an image");
    if (frame < 0 || frame >= frames)
        throw Error(name_ + ": it has images 1 to " + std::to_string(frames));
    const auto pixels = static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols);
    auto image = std::make_unique<CImage>(rows, cols, is_gray ? ImageType::gray : ImageType::colour,
                                          FileFormat::none, PixelFormat::byte);
    if (!image->pixels)
        throw Error(name_ + ": there is no memory for the image");
    DcmDataset& data = parts_->data();
    if (!is_gray) {
        if (!parts_->painted)
            parts_->painted = std::make_unique<DicomImage>(&parts_->file, data.getOriginalXfer(),
                                                           CIF_MayDetachPixelData, 0, frames);
        const auto* const bytes = parts_->painted->getStatus() == EIS_Normal
                                      ? static_cast<const Uint8*>(parts_->painted->getOutputData(
                                            8, static_cast<unsigned long>(frame), 0))
                                      : nullptr;
        if (!bytes || parts_->painted->getOutputDataSize(8) < 3 * pixels)
            throw Error(name_ + ": its colours can't be read");
        for (int i = 0; i < rows; ++i) {
            const std::size_t count = std::size_t{3} * static_cast<std::size_t>(cols);
            std::copy_n(bytes + static_cast<std::size_t>(i) * count, count, image->pixels[i]);
        }
        return image;
    }
    if (!parts_->is_decoded) {
        if (data.chooseRepresentation(EXS_LittleEndianExplicit, nullptr).bad() ||
            !data.canWriteXfer(EXS_LittleEndianExplicit))
            throw Error(name_ + ": its pixels are packed by a method that isn't read (" +
                        DcmXfer(data.getOriginalXfer()).getXferName() + ")");
        parts_->is_decoded = true;
    }
    const int bytes = parts_->allocated_bits / 8;
    const std::size_t first = pixels * static_cast<std::size_t>(frame);
    const Uint8* octets = nullptr;
    const Uint16* words = nullptr;
    unsigned long count = 0;
    DcmElement* element = nullptr;
    if (data.findAndGetElement(DCM_PixelData, element).bad() || !element)
        throw Error(name_ + ": its pixels can't be read");
    // 8-bit samples come in words or in bytes; 32-bit ones as two words, the low one first.
    if ((element->getUint16Array(const_cast<Uint16*&>(words)).good() && words) ||
        (element->getUint8Array(const_cast<Uint8*&>(octets)).good() && octets))
        count = element->getLength();
    const auto* const begin = words ? reinterpret_cast<const Uint8*>(words) : octets;
    if (!begin || count / static_cast<std::size_t>(bytes) < first + pixels)
        throw Error(name_ + ": is cut short: it has fewer pixels than it says");
    const DicomPlace where = place(frame);
    const int shift = parts_->high_bit + 1 - parts_->stored_bits;
    const std::uint64_t mask = (std::uint64_t{1} << parts_->stored_bits) - 1;
    const std::uint64_t sign_bit = has_sign ? std::uint64_t{1} << (parts_->stored_bits - 1) : 0;
    double low = INFINITY, high = -INFINITY;
    bool is_whole = true;
    const Uint8* in = begin + first * static_cast<std::size_t>(bytes);
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j, in += bytes) {
            std::uint64_t raw = in[0]; // the machine's byte order, which is low byte first
            for (int n = 1; n < bytes; ++n)
                raw |= std::uint64_t{in[n]} << (8 * n);
            raw = raw >> shift & mask;
            const double stored = static_cast<double>(static_cast<std::int64_t>(raw ^ sign_bit)) -
                                  static_cast<double>(sign_bit);
            const double value = where.slope * stored + where.intercept;
            image->pixels[i][j] = static_cast<float>(value);
            low = std::min(low, value);
            high = std::max(high, value);
            is_whole = is_whole && value == std::floor(value);
        }
    }
    image->pixel_format = !is_whole                                  ? PixelFormat::float32
                          : bits <= 8 && low >= 0.0 && high <= 255.0 ? PixelFormat::byte
                          : low >= -32768.0 && high <= 65535.0       ? PixelFormat::int16
                                                                     : PixelFormat::float32;
    return image;
}

} // namespace vorlane::host
