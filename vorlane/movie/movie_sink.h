// Private: where the frames of a created movie go.
#pragma once

namespace vorlane {

class MovieSink {
public:
    virtual ~MovieSink() = default;

    // Whether the movie's file is open for writing.
    virtual bool is_open() const = 0;

    // The kind of images that it takes: 0 gray, 1 colour.
    virtual int image_type() const = 0;

    // Appends a frame of that kind. A larger plane gives its top left part, a smaller one, or null,
    // is filled up by 0. False if the frame isn't in the file.
    virtual bool write(const float* const* plane) = 0;
};

} // namespace vorlane
