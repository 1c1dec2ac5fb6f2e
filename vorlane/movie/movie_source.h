// Private: the frames of an open movie.
//
// Sources and sinks keep nothing of their own: they work by the public fields of their movie, so
// that a host may assign these.
#pragma once

namespace vorlane {

// Where a frame stands, seen from the current one.
enum class Approach {
    anywhere, // found from the end of the file
    behind,
    before
};

class MovieSource {
public:
    virtual ~MovieSource() = default;

    // Whether the movie's file is open for reading.
    virtual bool is_open() const = 0;

    // Whether a jump to this number may be tried.
    virtual bool takes_number(int frame) const = 0;

    // Brings a frame into `image` and `dib`. False if it can't be had.
    virtual bool fetch(int frame, Approach approach, const int* table) = 0;
};

} // namespace vorlane
