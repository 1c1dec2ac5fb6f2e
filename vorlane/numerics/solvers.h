// Numerical solvers that the library's fits rest on, open to a host as well.
#pragma once

#include <vorlane/platform/export.h>

// Fits a model to points by non-linear least squares: finds parameters that make the sum of
// ((y[k] - model(x[k])) / sig[k])^2 over n points as small as it can.
//
//   x, y      n abscissae and ordinates
//   sig       the standard deviation of each ordinate, not 0; 1.0 everywhere weighs all alike
//   params    nparams starting values; the fitted ones stand here on return
//   model     called as model(x, params, value, derivatives, nparams): stores the value at x, and
//             its derivative with respect to each parameter
//
// Returns the misfit, the root of the sum above divided by the root of the same sum for a model
// that is 0 everywhere: 0 is an exact fit, about 1 as bad as none. (If the ordinates are all 0, the
// root of the sum alone.) Always a number below 1000000.0.
//
// Returns exactly 1000000.0, with the parameters as they were, if it gives up: there are no points,
// no parameters or fewer points than parameters; a pointer is null; the start gives anything but
// finite numbers; the start's derivatives leave a parameter or a combination of parameters without
// influence, so that the normal equations are singular; the misfit isn't below 1000000.0; memory
// is short.
//
// The normal equations are summed up and solved in double precision by a Cholesky decomposition,
// in units in which their diagonal is 1 at the start. The damping shrinks while steps do what the
// equations promise and grows when they don't. A fit ends when a step is smaller than floats can
// show, when three steps in a row win less than 1e-9 of the sum, when no damping finds a smaller
// sum, or after 500 steps; the best parameters count in each case. Where neighbouring residuals, in
// the order of the points, are still alike (a correlation above 0.25), the minimum may be a local
// one: up to 12 fits of 100 steps from starts near the first one follow, and the best fit counts.
//
// Of gaussian_mixture_model over increasing abscissae it knows more. It evaluates it in double
// precision and, while residuals are alike (0.12) or more than a thousandth of the sum for a model
// that is 0, starts from other places too, in a fixed order: intervals of equal width and of
// equal mass, with narrower components as well, peaks, and the fit with a component less, with one
// more where most is left over or with each split in two. So a start that isn't finite or has no
// influence does no harm, and a component more doesn't fit worse. Heights and widths are positive.
//
// Sources: K. Levenberg, "A method for the solution of certain non-linear problems in least
// squares", 1944; D. W. Marquardt, "An algorithm for least-squares estimation of nonlinear
// parameters", 1963; the damping rule from H. B. Nielsen, "Damping parameter in Marquardt's
// method", 1999.
VORLANE_API float LevenbergMarquardt(float* x, float* y, float* sig, int n, float* params,
                                     int nparams,
                                     void (*model)(float x, float* params, float* value,
                                                   float* derivatives, int nparams));

// The model of CHistogram::FitNGaussians: the mixture at `x`, the sum over components k of
//
//   a^2 exp(-((x - m) / w)^2),   a, m, w = params[3k], params[3k + 1], params[3k + 2]
//
// and its derivative with respect to each of the nparams parameters. Each component's terms are
// rounded to floats, and the value with each component; a width of 0 gives not-a-numbers.
VORLANE_API void gaussian_mixture_model(float x, float* params, float* value, float* derivatives,
                                        int nparams);

// Eigenvalues and eigenvectors of a real symmetric matrix of size x size, of which only the
// diagonal and what stands above it is read. eigenvalues[k] come in increasing order; column k of
// `eigenvectors` (eigenvectors[i][k] for all i) belongs to eigenvalues[k], has length 1 and is
// orthogonal to the others; its sign is open. `eigenvectors` may be null. Eigenvalues that are
// equal or nearly so, or 0, do no harm: the error of each is below 1e-7 of the largest.
//
// Returns 1, or 0 with nothing written if a pointer is null, size is below 1, an entry isn't finite
// or memory is short. An eigenvalue beyond the range of floats becomes infinite.
//
// Source: H. H. Goldstine, F. J. Murray, J. von Neumann, "The Jacobi method for real symmetric
// matrices", 1959. Rotations run in double precision.
VORLANE_API int VNeumannEigens(float** matrix, int size, float* eigenvalues, float** eigenvectors);
