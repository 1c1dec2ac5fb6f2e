// CHistogram: counts of an image's gray levels, and the mixture of Gaussians that fits them.
//
// Bin i counts the pixels whose gray level, truncated toward zero, is i: levels from i up to but
// not including i + 1, and for bin 0 also those above -1. Fields are public; a host reads and
// assigns them. A histogram owns its two arrays and releases them in its destructor: an array that
// a host puts into one comes from make_1D_int_array or make_1D_float_array.
//
// Gray levels that have no bin are left out: those at or below -1, those from 2^31 on, and
// not-a-numbers. Bins that no pixel has take memory only where the system hands it out early. The gray level of a colour pixel is the one that MakeGray gives it.
#pragma once

#include <vorlane/image/image.h>
#include <vorlane/image/objects.h>
#include <vorlane/numerics/solvers.h> // gaussian_mixture_model

class VORLANE_API CHistogram : public CObject {
public:
    int nbins;     // the largest counted level, truncated, plus 1
    int peak;      // the largest count when the image was counted; Smooth leaves it alone
    int* bins;     // nbins counts; null only in an empty histogram
    float* params; // three numbers for each Gaussian (FitNGaussians tells which), or null
    int nparams;   // numbers in params that belong to a fit; 0 when there is none, even if params
                   // isn't null

    static CRuntimeClass classCHistogram;
    static CObject* CreateObject(); // a new empty histogram, or null if there is no memory
    CRuntimeClass* GetRuntimeClass() const override;

    // An empty histogram: three zeros, two nulls.
    CHistogram();

    // Counts a whole image. With `drop_zero` not 0, bin 0 is cleared before the peak is found. No
    // counted pixel (also: null, no pixels) gives nbins 0 and an array without entries; so does a
    // lack of memory, with bins null. A count stops at the largest int.
    CHistogram(const CImage* image, int drop_zero);

    // Counts the pixels whose sample in mask->pixels isn't 0. The mask is a gray image that is at
    // least as large; with one that is smaller, or without pixels, no pixel counts. A null mask
    // counts every pixel.
    CHistogram(const CImage* image, const CImage* mask);

    CHistogram(const CHistogram&) = delete; // assign to an empty one
    ~CHistogram() override;

    // A deep copy. Where `other` has no fit, nparams becomes 0 and an array of an earlier fit stays
    // allocated. Changes nothing if there is no memory, or if `other` is this histogram.
    CHistogram& operator=(const CHistogram& other);

    // Smooths the counts with a Gaussian of standard deviation width / 6 bins, sampled at `width`
    // whole bins around each bin (an even width reaches one bin further down than up), and rounds
    // them to whole numbers. At both ends the weights that lie inside are normalised to 1. Takes
    // nbins times the smaller of width and 2 nbins steps. Changes nothing if width is below 1 or if
    // there is no memory.
    void Smooth(int width);

    // Fits the sum of n Gaussians to the counts by least squares. Component k, from 0, is
    //
    //   a^2 exp(-((x - m) / w)^2),   a, m, w = params[3k], params[3k + 1], params[3k + 2]
    //
    // so a is the root of the height, m the centre in bins, and w the standard deviation times
    // sqrt(2). Components start as the moments of n intervals of equal width, from the lowest bin
    // that isn't empty to the last one, and from there LevenbergMarquardt in
    // vorlane/numerics/solvers.h does the fit. It looks further than from this start, so that
    // intervals without counts do no harm, and a component more doesn't fit worse.
    //
    // Returns the misfit: the root of the sum of squared residuals over that of squared counts, 0
    // for an exact fit. Returns 1000000.0 after a failure, with nparams 0: with n below 1, with
    // fewer bins than parameters, on a histogram of zeros, or if memory is short. The time grows
    // with the number of bins and faster than n: 256 bins take milliseconds, 65536 bins 1 to 5
    // seconds for two Gaussians and up to 20 for four. Empty bins that no Gaussian reaches are free.
    float FitNGaussians(int n);

    // Fits first, first + 1, ... last - 1 Gaussians, and keeps the fit with the fewest of them
    // whose misfit r is good enough: (r - best) / (worst - best) < threshold, where best and worst
    // are taken over the fits that didn't fail. A threshold of 1 takes the first that is better
    // than the worst, one just above 0 the best. If all misfits are equal, the first one is
    // taken; if none is below the threshold, the last. With `first` not below `last` no fit is
    // made, and nparams becomes 3 (last - 1), with zeros.
    //
    // Returns an array of `last` floats that the caller releases with free_1D_float_array: entry n
    // is the misfit with n Gaussians, 1000000.0 where the fit failed; entries below `first` are
    // open. A chosen fit that failed keeps its nparams. Null, with no change, if `first` or `last`
    // is below 1, on a histogram of zeros, or if there is no memory.
    float* FitGaussians(int first, int last, float threshold);
};
