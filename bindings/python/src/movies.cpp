#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <string>

#include "arrays.h"
#include "files.h"
#include "host/movies.h"
#include "parts.h"

namespace vorlane::python {

namespace {

// A reader and the number of the frame that comes next from it.
class Movie {
public:
    explicit Movie(const std::string& path) {
        demand_openable(path);
        reader_ = unlocked([&] { return host::open_movie(path); });
    }

    void close() { reader_.reset(); }

    double rate() const { return reader().info().rate; }

    py::tuple shape() const {
        const host::MovieInfo& info = reader().info();
        return info.image_type == ImageType::colour ? py::make_tuple(info.rows, info.cols, 3)
                                                    : py::make_tuple(info.rows, info.cols);
    }

    std::int64_t count() {
        if (count_ < 0) {
            count_ = reader().count_frames();
            next_ = -1;
        }
        return count_;
    }

    // Frame n, or None behind the last one. The interpreter's lock is held: a movie has one place
    // in its file.
    py::object frame(std::int64_t n) {
        host::MovieReader& source = reader();
        if (count_ >= 0 && n >= count_)
            return py::none();
        if (n != next_) {
            if (n >= count())
                return py::none();
            source.seek(n);
        }
        next_ = -1; // until the frame is there
        const CImage* const image = source.next();
        if (!image) {
            count_ = n;
            return py::none();
        }
        next_ = n + 1;
        auto copy = std::make_unique<CImage>(image);
        if (!copy->pixels && image->pixels)
            throw std::bad_alloc();
        return adopt(std::move(copy));
    }

private:
    host::MovieReader& reader() const {
        if (!reader_)
            throw py::value_error("the movie is closed");
        return *reader_;
    }

    std::unique_ptr<host::MovieReader> reader_;
    std::int64_t count_ = -1;
    std::int64_t next_ = 0;
};

// The first frame decides what the movie is.
class MovieWriter {
public:
    MovieWriter(std::string path, double rate) : path_(std::move(path)), rate_(rate) {
        if (!(rate > 0.0 && std::isfinite(rate)))
            throw py::value_error("rate must be above 0 and finite");
        if (!host::is_movie_path(path_))
            throw host::Error(path_ + ": the ending must be one of " + host::movie_endings());
    }

    void write(py::handle object) {
        if (is_finished_)
            throw py::value_error("the movie is finished");
        const PictureArgument frame(object, "frame");
        if (!writer_) {
            host::MovieSettings settings;
            settings.rows = frame->nrows;
            settings.cols = frame->ncols;
            settings.image_type = frame->image_type;
            settings.rate = rate_;
            shape_ = shape_text(frame.array());
            writer_ = host::create_movie(path_, settings);
        }
        if (shape_text(frame.array()) != shape_)
            throw py::value_error("frame has shape " + shape_text(frame.array()) +
                                  ", the first one " + shape_);
        writer_->add(*frame);
    }

    void finish() {
        if (is_finished_)
            return;
        if (!writer_)
            throw py::value_error("the movie has no frames");
        writer_->finish();
        discard();
    }

    void discard() {
        is_finished_ = true;
        writer_.reset();
    }

private:
    std::string path_, shape_;
    double rate_;
    std::unique_ptr<host::MovieWriter> writer_;
    bool is_finished_ = false;
};

} // namespace

void add_movies(py::module_& module) {
    py::class_<Movie>(module, "Movie")
        .def(py::init<const std::string&>())
        .def("close", &Movie::close)
        .def("frame", &Movie::frame)
        .def("count", &Movie::count)
        .def_property_readonly("rate", &Movie::rate)
        .def_property_readonly("shape", &Movie::shape);
    py::class_<MovieWriter>(module, "MovieWriter")
        .def(py::init<std::string, double>())
        .def("write", &MovieWriter::write)
        .def("finish", &MovieWriter::finish)
        .def("discard", &MovieWriter::discard);
}

} // namespace vorlane::python
