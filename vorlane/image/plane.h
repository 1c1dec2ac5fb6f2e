// Private: planes as the library itself makes and looks at them.
#pragma once

#include <cstddef>
#include <new>
#include <utility>

#include <vorlane/image/arrays.h>
#include <vorlane/image/index.h>

namespace vorlane {

enum class Fill {
    zeros,
    none // the caller writes every sample
};

// As make_2D_float_array, with sizes in 64 bits: a colour plane has 3 * cols columns.
float** make_plane(Index rows, Index cols, Fill fill = Fill::zeros);

// A plane's row pointers alone, whatever they point to; null if there is no memory.
float** make_row_table(Index rows, Index cols);

// The size that the plane was made with. Only for planes made by this library. An image's fields
// may have changed since its planes were made, so whoever touches a plane that an earlier call left
// asks here.
Index plane_rows(const float* const* plane);
Index plane_cols(const float* const* plane);

// True if `plane` exists and has at least rows x cols samples.
bool plane_holds(const float* const* plane, Index rows, Index cols);

// A plane that owns itself, or none.
class Plane {
public:
    Plane() = default;

    // Throws std::bad_alloc if the plane can't be: a size is negative, or there is no memory.
    Plane(Index rows, Index cols, Fill fill = Fill::zeros) : plane_(make_plane(rows, cols, fill)) {
        if (!plane_)
            throw std::bad_alloc();
    }

    // Takes over a plane, or null.
    explicit Plane(float** plane) noexcept : plane_(plane) {}

    Plane(Plane&& other) noexcept : plane_(other.release()) {}
    Plane& operator=(Plane&& other) noexcept {
        free_2D_float_array(std::exchange(plane_, other.release()));
        return *this;
    }
    ~Plane() { free_2D_float_array(plane_); }

    explicit operator bool() const { return plane_ != nullptr; }
    Index rows() const { return plane_ ? plane_rows(plane_) : 0; }
    Index cols() const { return plane_ ? plane_cols(plane_) : 0; }

    float* operator[](Index row) const { return plane_[row]; }
    float** get() const { return plane_; }

    // Gives it away; there is none afterwards.
    float** release() { return std::exchange(plane_, nullptr); }
    void hand_to(float**& field) { free_2D_float_array(std::exchange(field, release())); }

private:
    float** plane_ = nullptr;
};

struct PlaneBlock;

// Hands out up to `count` planes of one size that share large blocks of memory: the slices of a
// volume are too small for large pages one by one. Each plane is released by itself; a block goes
// with its last plane.
class PlaneStack {
public:
    PlaneStack(Index rows, Index cols, Fill fill, std::size_t count);
    ~PlaneStack();
    PlaneStack(const PlaneStack&) = delete;
    PlaneStack& operator=(const PlaneStack&) = delete;

    // The next plane. Throws std::bad_alloc if there is no memory, if a size makes no sense, or
    // behind the last one.
    Plane next();

private:
    Index rows_;
    Index cols_;
    Fill fill_;
    std::size_t plane_size_;
    std::size_t left_;
    PlaneBlock* block_ = nullptr;
    unsigned char* at_ = nullptr;
    std::size_t left_in_block_ = 0;
};

} // namespace vorlane
