/* One-dimensional data fitting: functions sampled on a partition, splines through them, search, values, integrals. For
 * C and C++.
 *
 * A task refers to the caller's partition, function values, conditions and coefficient blocks; all of them must outlive
 * it. Create it, describe the spline, construct (which fills the coefficient blocks), then search, interpolate and
 * integrate as often as needed. Names with an s work on float, names with a d on double; a task is for one of the two.
 *
 * A natural cubic spline through five points, its value and slope at two sites:
 *
 *     double x[5] = {0, 1, 2, 4, 8}, y[5] = {0, 1, 4, 16, 64}, coeff[4 * 4], site[2] = {0.5, 3}, r[4];
 *     int32_t derivatives[2] = {1, 1};
 *     DFTask1D *task;
 *     nvo_df_kernel_dNewTask1D(&task, 5, x, DF_GRID_IRREGULAR, 1, y, DF_Y_DEFAULT, 0);
 *     nvo_df_kernel_dEditPPSpline1D(task, 4, DF_TYPE_NATURAL, DF_BC_FREE_END, NULL, 0, NULL, coeff, DF_Y_DEFAULT);
 *     nvo_df_kernel_dDFNaturalCubicSpline1D(task, 0, 0, NULL);
 *     nvo_df_kernel_dDFInterpolate1D(task, 1, 0, 2, site, DF_SITE_SORTED, 2, derivatives, NULL, r, 0, NULL, NULL, NULL,
 *                                    NULL, NULL, NULL, NULL, NULL, NULL, NULL);
 *     nvo_df_kernel_DeleteTask(&task);
 *
 * Functions return 0 or a negative status of this header, and calls with callbacks the last non-negative status of a
 * callback. All checks come before anything is written unless said otherwise. Nothing checks that a partition ascends:
 * one that doesn't gives numbers without meaning, and never an access outside the arrays. A task has no lock: edits and
 * deletion must be alone; computations only read it and may run side by side.
 */
#ifndef NVO_ARK_FITTING_H
#define NVO_ARK_FITTING_H

#include <stdint.h>

#include "threading.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct DFTask1D DFTask1D;

/* ---- Codes ----------------------------------------------------------------------------------------------------- */

/* Form of the partition. */
enum {
    DF_GRID_FREE = 0,      /* nothing known about the breakpoints */
    DF_GRID_IRREGULAR = 1, /* listed */
    DF_GRID_NEAR_EVEN = 2, /* listed, close to evenly spaced: the search starts from an estimate */
    DF_GRID_EVEN = 4       /* evenly spaced; x holds the two ends, and x[j] is x[0] + j * (x[1] - x[0]) / (nx - 1) */
};

/* Storage of function values, and of pointers to coefficient blocks. */
enum {
    DF_Y_DEFAULT = 0,    /* as by rows */
    DF_Y_BY_ROWS = 0x10, /* function after function, nx values each */
    DF_Y_BY_COLS = 0x20, /* value j of function i at y[j * ny + i] */
    DF_Y_SEPARATE = 0x80 /* an array a function; all but the first are set by EditIdxPtr */
};

/* Types of order 4 (cubic), 3 (quadratic) and 0; order 2 (linear) and those above 4 have any type. */
enum {
    DF_TYPE_DEFAULT = 0,    /* order 3: the standard quadratic; order 4: second derivatives given */
    DF_TYPE_SUBBOTIN = 1,   /* order 3, knots between the breakpoints */
    DF_TYPE_NATURAL = 2,    /* order 4, twice differentiable */
    DF_TYPE_HERMITE = 3,    /* order 4, first derivatives given */
    DF_TYPE_BESSEL = 4,     /* order 4 */
    DF_TYPE_AKIMA = 5,      /* order 4 */
    DF_TYPE_LOOK_UP = 6,    /* order 0: the values at the breakpoints alone */
    DF_TYPE_STEP_RIGHT = 7, /* order 0: y[j] on [x[j], x[j+1]) */
    DF_TYPE_STEP_LEFT = 8,  /* order 0: y[j+1] on (x[j], x[j+1]] */
    DF_TYPE_HYMAN = 9       /* order 4, monotone where the data are */
};

/* Boundary conditions. The four bits combine to one condition for each end. */
enum {
    DF_BC_NOT_SET = 0,
    DF_BC_NOT_A_KNOT = 1,
    DF_BC_FREE_END = 2, /* second derivatives 0 */
    DF_BC_LEFT_1ST = 4,
    DF_BC_RIGHT_1ST = 8,
    DF_BC_LEFT_2ND = 16,
    DF_BC_RIGHT_2ND = 32,
    DF_BC_PERIODIC = 64,
    DF_BC_MIDPOINT = 128 /* standard quadratic: bc[0] is the value in the middle of the first cell */
};

/* Internal conditions of the Subbotin spline. */
enum {
    DF_IC_LISTED_SUBGRID = 8, /* ic holds nx + 1 knots */
    DF_IC_EVEN_SUBGRID = 12   /* ic holds two: the first and the last inner knot */
};

/* What is known of sites and limits. */
enum {
    DF_SITE_FREE = 0,
    DF_SITE_EVEN = 4,   /* the array holds two elements: the first and the last of evenly spaced sites */
    DF_SITE_SORTED = 64 /* ascending */
};

/* Attributes of the edit and query entries. */
enum {
    DF_ATTR_X = 1,
    DF_ATTR_Y = 2,
    DF_ATTR_IC = 3,
    DF_ATTR_BC = 4,
    DF_ATTR_COEFF = 5,
    DF_ATTR_NX = 14,
    DF_ATTR_X_HINT = 15,
    DF_ATTR_NY = 16,
    DF_ATTR_Y_HINT = 17,
    DF_ATTR_ORDER = 18,
    DF_ATTR_TYPE = 19,
    DF_ATTR_IC_TYPE = 20,
    DF_ATTR_BC_TYPE = 21,
    DF_ATTR_COEFF_HINT = 22,
    DF_ATTR_CHECK_FLAG = 23
};

enum {
    DF_ST_OK = 0,
    DF_ST_NO_TASK = -1000,
    DF_ST_NO_MEMORY = -1001,
    DF_ST_BAD_METHOD = -1002, /* a construction method other than 0, or a quadratic of an unknown type */
    DF_ST_BAD_NX = -1004,     /* too few breakpoints */
    DF_ST_BAD_X = -1005,
    DF_ST_BAD_X_HINT = -1006,
    DF_ST_BAD_NY = -1007,
    DF_ST_BAD_Y = -1008, /* function values missing */
    DF_ST_BAD_Y_HINT = -1009,
    DF_ST_BAD_ORDER = -1010,
    DF_ST_BAD_TYPE = -1011, /* order and type name no model, or callbacks of a model are missing */
    DF_ST_BAD_IC_TYPE = -1012,
    DF_ST_BAD_IC = -1013,
    DF_ST_BAD_BC_TYPE = -1014,
    DF_ST_BAD_BC = -1015,
    DF_ST_BAD_COEFF = -1016, /* coefficient blocks missing */
    DF_ST_BAD_COEFF_HINT = -1017,
    DF_ST_NOT_PERIODIC = -1018, /* first and last value of a function differ */
    DF_ST_BAD_ATTRIBUTE = -1019,
    DF_ST_BAD_INDEX = -1020,
    DF_ST_LOOKUP_MISS = -1022,     /* a look-up site is no breakpoint */
    DF_ST_LOOKUP_ORDERS = -1024,   /* look-up of more or fewer results than one */
    DF_ST_LOOKUP_NO_VALUE = -1025, /* look-up of a derivative */
    DF_ST_BAD_DATA_HINT = -1026,
    DF_ST_BAD_RESULT_HINT = -1028,     /* of interpolation */
    DF_ST_BAD_INT_RESULT_HINT = -1034, /* of integration */
    DF_ST_BAD_FLAG = -1036,
    DF_ST_NO_OUTPUT = -1037,
    DF_ST_SOLVE_FAILED = -1500
};

/* ---- The task -------------------------------------------------------------------------------------------------- */

/* `real` is float in the s entries and double in the d entries.
 *
 * NewTask1D creates a task of nx breakpoints, at least 2, and ny functions. ny may be 0 with a null y, to be edited
 * later. cell_wide: 0 for cells (and queried values, and dorder) of 32 bits, else of 64. Checked in this order: nx, x,
 * x_hint, ny = 0 with y, y missing, y_hint. DF_ST_NO_MEMORY may leave a task in *task_out, which is to be deleted.
 *
 * EditPtr registers x, y, ic, bc or coeff. For y and coeff it makes the task's own array of pointers anew from nx, ny,
 * the hints, the order and the type as they stand: edit those first. Coefficient blocks of several functions lie
 * nx * order - order elements apart, for type 1 nx * order.
 *
 * EditIdxPtr registers the values (attribute DF_ATTR_Y) or the block (DF_ATTR_COEFF) of function `index`. A null
 * pointer, and no array to put it in, are DF_ST_BAD_Y and DF_ST_BAD_COEFF; an index that the array has no room for is
 * DF_ST_BAD_INDEX.
 *
 * EditPPSpline1D describes the spline. It stores as it goes: what comes before a failed check stays stored.
 *
 * QueryPtr and QueryIdxPtr give the pointers back, of arrays that of function 0 or `index`. */
#define NVO_ARK_DF_TASK(t, real)                                                                                      \
    int32_t nvo_df_kernel_##t##NewTask1D(DFTask1D** task_out, int64_t nx, const real* x, uint64_t x_hint, int64_t ny, \
                                         const real* y, uint64_t y_hint, uint32_t cell_wide);                         \
    int32_t nvo_df_kernel_##t##EditPtr(DFTask1D* task, int64_t attribute, const real* pointer);                       \
    int32_t nvo_df_kernel_##t##EditIdxPtr(DFTask1D* task, int64_t attribute, int64_t index, const real* pointer);     \
    int32_t nvo_df_kernel_##t##EditPPSpline1D(DFTask1D* task, int64_t s_order, int64_t s_type, uint64_t bc_type,      \
                                              const real* bc, uint64_t ic_type, const real* ic, real* coeff,          \
                                              uint64_t coeff_hint);                                                   \
    int32_t nvo_df_kernel_##t##QueryPtr(DFTask1D* task, int64_t attribute, const real** out);                         \
    int32_t nvo_df_kernel_##t##QueryIdxPtr(DFTask1D* task, int64_t attribute, int64_t index, const real** out);
NVO_ARK_DF_TASK(s, float)
NVO_ARK_DF_TASK(d, double)
#undef NVO_ARK_DF_TASK

/* Sets one of the attributes 14 to 23. Accepted are: nx from 2, the values of the enumerations for hints, ny from 1, an
 * order from 0, types 0 to 5 and 9 (6, 7 and 8 go through EditPPSpline1D), an ic_type below 3 or with bit 3, a bc_type
 * that isn't negative, a flag of 0 or 1. Setting x_hint to DF_GRID_IRREGULAR reads all of x. */
int32_t nvo_df_kernel_iEditVal(DFTask1D* handle, int64_t attribute, int64_t value);
/* Stores one of them, in 32 or 64 bits as the task's cell_wide says. */
int32_t nvo_df_kernel_iQueryVal(DFTask1D* handle, int64_t attribute, void* out);

/* Frees the task and stores null in *handle. A null handle is DF_ST_NO_TASK. */
int32_t nvo_df_kernel_DeleteTask(DFTask1D** handle);

/* ---- Construction ---------------------------------------------------------------------------------------------- */

/* These fill the coefficient blocks. Block coeff[i] of function i is cell after cell; a cell is `s_order` elements, the
 * coefficients of 1, t - x[j], (t - x[j])^2, ... on x[j] <= t < x[j+1]. There are nx - 1 cells, nx of Subbotin's. An ny
 * below 2 counts as 1. `format` isn't read. A failed check leaves the blocks as they were. Blocks must not overlap with
 * the data, but for those of linear splines; where these do, each cell is read whole before it is written, in ascending
 * order.
 *
 * Linear      c0 = y[j], c1 = (y[j+1] - y[j]) / (x[j+1] - x[j]). nx from 2. It reads neither bc nor ic. Checked in this
 *             order: method, which must be 0; nx; y_hint; y there; coeff there.
 *
 * Quadratic   of type DF_TYPE_DEFAULT or DF_TYPE_SUBBOTIN; `method` isn't read. Checked first: y_hint, then the type
 *             (DF_ST_BAD_METHOD for another one).
 *
 *   DF_TYPE_DEFAULT   A parabola in each cell, with a continuous first derivative. nx from 2. bc[0] is the value in the
 *             middle of the first cell, of every function. The middle of a further cell follows from the cell before:
 *             an error of bc[0] neither grows nor fades relative to the width of the cell, but changes its sign from
 *             cell to cell. Checked: bc_type = DF_BC_MIDPOINT, bc there, nx, y there, coeff there.
 *
 *   DF_TYPE_SUBBOTIN  Knots x[0] = t[0] < t[1] < x[1] < t[2] < ... < x[nx-2] < t[nx-1] < x[nx-1] = t[nx], and from t[i]
 *             to t[i+1] the parabola of cell i, about x[i]; value and first derivative are continuous at the knots. nx
 *             from 3. bc_type is one of the four pairs of DF_BC_LEFT_1ST or DF_BC_LEFT_2ND with DF_BC_RIGHT_1ST or
 *             DF_BC_RIGHT_2ND, bc[0] the derivative at x[0], bc[1] the one at x[nx-1]. ic holds what ic_type says:
 *               DF_IC_LISTED_SUBGRID  t[0], ..., t[nx]; the two ends are those of x, exactly, on an even grid within
 *                                     2^-40 (double) or 2^-12 (float)
 *               DF_IC_EVEN_SUBGRID    t[1] and t[nx-1]; the inner knots are evenly spaced
 *             and without ic the inner knots are the middles of the cells. Checked: bit 3 of ic_type, bc_type, bc
 *             there, nx, ic (DF_ST_BAD_IC unless knots and breakpoints alternate strictly), y there, coeff there. Then
 *             there may be DF_ST_NO_MEMORY, or DF_ST_SOLVE_FAILED: no solver found, or more rows than it can count.
 *             S. B. Stechkin, Yu. N. Subbotin, Splines in Numerical Mathematics (in Russian), Nauka, 1976; C. de Boor,
 *             A Practical Guide to Splines, 1978, chapter VI. */
#define NVO_ARK_DF_CONSTRUCT(Kind)                                                            \
    int32_t nvo_df_kernel_sDF##Kind##Spline1D(DFTask1D* task, int64_t format, int64_t method, \
                                              const OstThreading* threading);                 \
    int32_t nvo_df_kernel_dDF##Kind##Spline1D(DFTask1D* task, int64_t format, int64_t method, \
                                              const OstThreading* threading);
NVO_ARK_DF_CONSTRUCT(Linear)
NVO_ARK_DF_CONSTRUCT(Quadratic)

/* The six cubic kinds. Below, h[j] = x[j+1] - x[j], d[j] = (y[j+1] - y[j]) / h[j], n = nx, and s[j] is the first
 * derivative at x[j], from which a cell is made (but for Default):
 *     c0 = y[j], c1 = s[j], c2 = (3 d[j] - s[j+1] - 2 s[j]) / h[j], c3 = (s[j] + s[j+1] - 2 d[j]) / h[j]^2.
 * h[j]^2 must be a number: cells are wider than 1e-19 (float), 1e-154 (double).
 *
 * bc_type is one of DF_BC_NOT_A_KNOT, DF_BC_FREE_END, DF_BC_PERIODIC, and the four pairs of DF_BC_LEFT_1ST or
 * DF_BC_LEFT_2ND with DF_BC_RIGHT_1ST or DF_BC_RIGHT_2ND, whose derivatives are bc[0] at x[0] and bc[1] at x[n-1];
 * Akima takes DF_BC_NOT_SET as well. bc and ic are the same for all functions. DF_BC_PERIODIC wants the first and the
 * last value of each function to be the same, to the bit.
 *
 * Checked in this order: method, which must be 0 for Natural and isn't read by the others; nx; y_hint; bc_type; bc
 * there (for the four pairs; for DF_BC_PERIODIC if the task's type is DF_TYPE_DEFAULT or DF_TYPE_HERMITE, or if the
 * kind reads it); ic there, if the kind reads it; y there; coeff there. Then DF_ST_NOT_PERIODIC and DF_ST_NO_MEMORY,
 * with the blocks as they were; Natural has its own end.
 *
 * Natural     Twice differentiable:
 *                 h[i] s[i-1] + 2 (h[i-1] + h[i]) s[i] + h[i-1] s[i+1] = 3 (h[i] d[i-1] + h[i-1] d[i])
 *             inside, with a row for each end (C. de Boor, A Practical Guide to Splines, 1978, chapter IV). nx from 2,
 *             with DF_BC_NOT_A_KNOT from 3. With 3 that condition leaves one parameter free, and s[1] is 0. Memory: 3 n
 *             elements, and n for each function (and n more if periodic). It ends with DF_ST_SOLVE_FAILED, the blocks
 *             as they were, if a pivot vanishes, no solver is found, or n or ny is above 2^31 - 2, which is what one
 *             can count. Functions that aren't periodic are constructed all the same, and DF_ST_NOT_PERIODIC is the
 *             result; with nx of 2 and 3 they aren't looked for. Runs in the calling thread.
 *
 * Default     ic holds the second derivatives M[1], ..., M[n-2]. Inside,
 *                 c1 = d[j] - h[j] (M[j] / 3 + M[j+1] / 6), c2 = M[j] / 2, c3 = (M[j+1] - M[j]) / (6 h[j]);
 *             the first and the last cell are those that have M[1] or M[n-2], and the condition, at their ends: the
 *             second derivative bc[0] at both ends for DF_BC_PERIODIC, the next cell's c3 for DF_BC_NOT_A_KNOT. The
 *             first derivative is continuous if M belongs to such a spline. nx from 3, with DF_BC_NOT_A_KNOT from 4:
 *             each of two cells would take its c3 from the other. Runs in the calling thread.
 *
 * The other four are local: s[i] depends on a few values beside x[i]. They are once differentiable.
 *
 * Akima       With w[k] = |d[k+1] - d[k]|: s[i] = (w[i] d[i-1] + w[i-2] d[i]) / (w[i] + w[i-2]); (d[i-1] + d[i]) / 2 if
 *             that sum is below 1e-10 (double), 1e-6 (float), whatever the scale of the data. w[-1] is taken as w[0],
 *             w[n-2] as w[n-3]. nx from 5. H. Akima, Journal of the ACM 17 (1970), 589-602.
 * Bessel      s[i] = (h[i] d[i-1] + h[i-1] d[i]) / (x[i+1] - x[i-1]), of the parabola through three points. nx from 4.
 * Hyman       0 if d[i-1] and d[i] differ in sign or one of them is 0; else Bessel's slope, but in size not above 3
 *             times the smaller of the two: monotone where the data are, but for the first and the last cell, whose end
 *             derivatives aren't filtered. nx from 4. J. M. Hyman, SIAM J. Sci. Stat. Comput. 4 (1983), 645-654.
 * Hermite     s[i] = ic[i-1]; ic holds n - 2 elements. nx from 3.
 *
 * Their ends: DF_BC_FREE_END makes the second derivative 0; DF_BC_NOT_A_KNOT takes s[0] from Natural's first row,
 *     s[0] = ((2 c + h[0]) h[1] d[0] + h[0]^2 d[1]) / (c h[1]) - c s[1] / h[1], c = x[2] - x[0],
 * which is right for a cubic, but doesn't make the third derivative continuous here, since the second one isn't;
 * DF_BC_NOT_SET is s[0] = (3 d[0] - d[1]) / 2; DF_BC_PERIODIC is the kind's formula across the ends, bc[0] for Hermite.
 * The right end is the mirror image.
 *
 * Work of more than 511 values (nx times ny) goes to the team, in items of up to 4 functions on 2048 cells; any team
 * gives the same bits. Memory: a few kilobytes a thread. On an even grid they multiply by the inverse of the step
 * instead of dividing by widths. */
NVO_ARK_DF_CONSTRUCT(NaturalCubic)
NVO_ARK_DF_CONSTRUCT(DefaultCubic)
NVO_ARK_DF_CONSTRUCT(AkimaCubic)
NVO_ARK_DF_CONSTRUCT(BesselCubic)
NVO_ARK_DF_CONSTRUCT(HymanCubic)
NVO_ARK_DF_CONSTRUCT(HermiteCubic)
#undef NVO_ARK_DF_CONSTRUCT

/* ---- Search ---------------------------------------------------------------------------------------------------- */

/* The cells of nsite sites: where in the partition they lie. The cell of t is
 *
 *     0         t < x[0]
 *     j         x[j-1] <= t < x[j], j = 1, ..., nx - 1: on an inner breakpoint, the cell on its right
 *     nx - 1    t = x[nx-1]: the last cell holds its right end
 *     nx        t > x[nx-1], and a NaN
 *
 * On an even grid sites inside go by a formula: min(trunc((t - x[0]) * (1 / step)), nx - 2) + 1. By its rounding a site
 * that equals a computed breakpoint x[0] + j * step may come to the cell on the left of that, and one just below it to
 * the cell on its right. Sites outside and on the two ends go by the table. Block cell j - 1 belongs to cell j.
 *
 * method     not read
 * nsite      0 and below: no work
 * sitehint   DF_SITE_FREE; DF_SITE_SORTED; DF_SITE_EVEN: `site` holds two elements, the first and the last of nsite
 *            sites i * (site[1] - site[0]) * (1 / (nsite - 1)) + site[0]; one site is site[0]. Others are DF_SITE_FREE.
 * datahint   null, or five elements, of which element 1 is 0 (nothing known) or 1 (sites crowd round a breakpoint), and
 *            element 4 is then its place, from 0 to nx. Looked at last: by the first line that holds, the search goes
 *            by search_cb, by the partition if it is DF_GRID_NEAR_EVEN or DF_GRID_EVEN, by sorted sites, by datahint.
 * cell       nsite integers of the task's width
 *
 * A hint or an estimate that is wrong costs time and makes no cell wrong, but for NaNs among sorted sites: they may get
 * any cell from 0 to nx.
 *
 * search_cb, if it is not null, estimates cells, in the calling thread. It is called for 128 sites after the other, and
 * then for the rest, be they none (sites are given in blocks of 256 by interpolation, in blocks of 128 by integration,
 * on any thread of the team, and empty blocks are left out):
 *
 *     n, site     how many sites, and which
 *     cell, flag  a cell and a flag for each. Before the call all are 0.
 *     params      search_params
 *     side        null; in an integration, 0 for left and 1 for right limits
 *     returns     negative: ends the call, with this status. 1000: all cells are final. Anything else: cells with a
 *                 flag other than 0 are final, and others are estimates, of any value: the library goes on from there
 *                 (on an even grid it takes the formula). A site on the breakpoint that ends its estimated cell stays
 *                 in that cell; this is the one place where a breakpoint may count to the cell on its left.
 *
 * The last status of a callback is the result of the call, 1000 turned into 0.
 *
 * All other searches run on the team: each thread takes the same number of sites, and the calling one the rest. Where
 * neither partition nor sites are known they do so in blocks of 2048 sites, and from 101 breakpoints on.
 *
 * Statuses, the first of these: DF_ST_NO_TASK; DF_ST_BAD_DATA_HINT; DF_ST_NO_OUTPUT (cell); DF_ST_NO_MEMORY (more than
 * 4096 evenly spaced sites); then nothing has been written. After a failed callback earlier blocks have been. */
#define NVO_ARK_DF_SEARCH(t, real)                                                                               \
    typedef int32_t nvo_df_##t##SearchCallback(const int64_t* n, const real* site, int64_t* cell, int32_t* flag, \
                                               void* params, void* side);                                        \
    int32_t nvo_df_kernel_##t##DFSearch1D(                                                                       \
        DFTask1D* task, int64_t method, int64_t nsite, const real* site, int64_t sitehint, const real* datahint, \
        void* cell, nvo_df_##t##SearchCallback* search_cb, void* search_params, const OstThreading* threading);
NVO_ARK_DF_SEARCH(s, float)
NVO_ARK_DF_SEARCH(d, double)
#undef NVO_ARK_DF_SEARCH

/* ---- Interpolation --------------------------------------------------------------------------------------------- */

/* Values and derivatives of all F functions of a task (ny, 1 for 0) at nsite sites.
 *
 * Cells are found as in a search. A site left of the partition takes the first polynomial, a site right of it the last
 * one: without callbacks splines continue beyond their ends.
 *
 *     order 2, 3, 4 and above   the polynomial of the site's cell. Cells that are given, or final by a callback, need
 *                               not hold the site: their polynomial is continued up to it. Those outside 0 to nx count
 *                               as the nearest of the two.
 *     DF_TYPE_SUBBOTIN          the parabola between two knots, see above
 *     DF_TYPE_STEP_RIGHT        y[j] on [x[j], x[j+1]), y[nx-1] from the last breakpoint on, y[0] left of the partition
 *     DF_TYPE_STEP_LEFT         y[j+1] on (x[j], x[j+1]], y[nx-1] right of the partition, y[0] up to x[0]
 *     DF_TYPE_LOOK_UP           y[j] at x[j], on an even grid also within 2^-40 (double), 2^-12 (float) of it, but not
 *                               left of x[0]; elsewhere the call ends with DF_ST_LOOKUP_MISS
 *     order 0, other types      le_cb, re_cb and i_cb are the model
 *
 * Results have the bits of the formulas ((c3 t + c2) t + c1) t + c0, (3 c3 t + 2 c2) t + c1, 6 c3 t + 2 c2, 6 c3 and
 * their like with t = site - x[j], wherever a site stands in a call. In exact arithmetic on the rounded t that is right
 * to 3 * order roundings of the sum of the terms' magnitudes. The value at a NaN is a NaN.
 *
 * type        1: evaluate. 2, and any value with bit 1: store the cells in `cell` as well. 4: `cell` holds the cells,
 *             and nothing is searched. Others are as 1.
 * method      not read
 * nsite       0 and below: no work
 * site, sitehint, datahint, search_cb, search_params    as in a search; evenly spaced sites are
 *             site[0] + i * (site[1] - site[0]) / (nsite - 1) here
 * ndorder, dorder    flags 0 or 1, of the task's width of integers: dorder[d] asks for the derivative of order d, and
 *             dorder[0] for the value. Their sum D is the number of results of a site, in ascending order; null counts
 *             as none. Orders above the degree are 0.
 * r, rhint    result k of site s of function f is at
 *                 0, 16, 128    (f * nsite + s) * D + k
 *                 32            (f * D + k) * nsite + s
 *                 256           (s * F + f) * D + k
 *                 512           (s * D + k) * F + f
 * cell        null, or nsite integers of the task's width, by `type`
 *
 * le_cb, re_cb, i_cb: any of them may be null. Of each block of 256 sites, le_cb gets those left of the partition, i_cb
 * those in it, its ends included, re_cb those right of it, in this order, each if there are any; without its callback a
 * site is evaluated by the model. A callback gets
 *
 *     n, site     how many sites, and which, in their order in the block
 *     cell        their cells: 0 on the left, nx on the right
 *     r           room for F * n * D results: for each function, for each site, its D results
 *     params      le_params, re_params, i_params
 *     reserved    null
 *
 * and a search only gets those inside. A negative status of a callback ends the call and is returned. Otherwise the
 * result of the call is what the last callback returned, that of the search included, or 0 without one.
 *
 * From 4097 sites on blocks run on the team, if it has two threads or more, and callbacks then on several threads at
 * once. Results and status are the same on any number of threads: the status is that of the first block that fails.
 *
 * Statuses, the first of these: DF_ST_NO_TASK; DF_ST_BAD_TYPE (order and type name no model; order 0 with other types
 * needs all three callbacks); DF_ST_BAD_DATA_HINT; DF_ST_BAD_RESULT_HINT; DF_ST_BAD_COEFF or, of steps and look-up,
 * DF_ST_BAD_Y (missing; not looked at with all three callbacks); DF_ST_NO_OUTPUT (r or cell); DF_ST_NO_MEMORY. Then
 * nothing has been written. Memory is needed where results are staged, with callbacks and in layouts other than the
 * first, 256 D F a thread. While blocks are evaluated: DF_ST_NO_MEMORY (derivatives of order 11 and above);
 * DF_ST_LOOKUP_MISS, or if all sites of the block are breakpoints, DF_ST_LOOKUP_ORDERS for D other than 1,
 * DF_ST_LOOKUP_NO_VALUE for another order than 0; callbacks. Then blocks before the one that fails have been written,
 * and on a team others may have. */
#define NVO_ARK_DF_INTERPOLATE(t, real)                                                                                \
    typedef int32_t nvo_df_##t##InterpolateCallback(const int64_t* n, const int64_t* cell, const real* site, real* r,  \
                                                    void* params, void* reserved);                                     \
    int32_t nvo_df_kernel_##t##DFInterpolate1D(                                                                        \
        DFTask1D* task, int64_t type, int64_t method, int64_t nsite, const real* site, int64_t sitehint,               \
        int64_t ndorder, const void* dorder, const real* datahint, real* r, int64_t rhint, void* cell,                 \
        nvo_df_##t##InterpolateCallback* le_cb, void* le_params, nvo_df_##t##InterpolateCallback* re_cb,               \
        void* re_params, nvo_df_##t##InterpolateCallback* i_cb, void* i_params, nvo_df_##t##SearchCallback* search_cb, \
        void* search_params, const OstThreading* threading);
NVO_ARK_DF_INTERPOLATE(s, float)
NVO_ARK_DF_INTERPOLATE(d, double)
#undef NVO_ARK_DF_INTERPOLATE

/* ---- Integration ----------------------------------------------------------------------------------------------- */

/* Definite integrals of all ny functions between nlim pairs of limits.
 *
 * Pair i goes from llim[i] to rlim[i]. Limits may lie anywhere and in either order: a reversed pair gives the negative
 * of the pair in order, to the bit, and equal limits give 0. Left and right of the partition the first and the last
 * polynomial (step, parabola) go on. A NaN among the limits gives a NaN.
 *
 * method                  not read
 * nlim                    0 and below: no work. ny of 0 and below: nothing is integrated, and nothing written.
 * llimhint, rlimhint      what is known of each array: DF_SITE_FREE, DF_SITE_SORTED, or DF_SITE_EVEN: two elements, the
 *                         first and the last of nlim limits a[0] + i * (a[1] - a[0]) / (nlim - 1); one pair is a[0]
 * ldatahint, rdatahint    as in a search, one for each array
 * r                       integral i of function f, by rhint:
 *                             0, DF_Y_BY_COLS               r[i * ny + f]
 *                             DF_Y_BY_ROWS, DF_Y_SEPARATE   r[f * nlim + i]
 *
 * Models are those of interpolation, and integrals those of what it evaluates; a look-up has none. Step functions read
 * the function values, everything else the coefficients, and the Subbotin spline its knots, as the construction does. A
 * spline is integrated by the antiderivatives of its polynomials, and the error is that of a few roundings of their
 * values, however many cells a pair spans. Where both limits lie in one cell of a cubic or higher spline, that is a
 * difference of two values: of a short interval far from the left end of its cell, leading digits are lost.
 *
 * le_cb, re_cb, i_cb: any of them may be null. Of a pair, le_cb integrates the part left of the partition, re_cb that
 * right of it and i_cb that inside it, in this order, each only if there is such a part (the two ends are inside);
 * without its callback a part counts by the model. A callback gets
 *
 *     n               1
 *     llim, rlim      the part's limits, in ascending order
 *     lcell, rcell    0 and 0 on the left, nx and nx on the right; inside, the cells of the pair's own two limits
 *     r               room for ny results, one a function
 *     params          le_params, re_params, i_params
 *     reserved        null
 *
 * Results of a reversed pair are negated afterwards. Pairs with equal limits call nothing. A negative status ends the
 * call and is returned; the last other one is the result of the call. With a search callback, see above, each block of
 * pairs is placed by two calls, for which `side` points to a 32-bit 0 for left limits and 1 for right ones.
 *
 * Work goes in blocks of 128 pairs. From 4096 pairs on they run on the team, if it has two threads or more: five blocks
 * together while there are as many such groups as threads, then block by block. Results and status are the same on any
 * number of threads. Callbacks then run on several threads at once.
 *
 * Statuses, the first of these: DF_ST_NO_TASK; DF_ST_BAD_TYPE (order and type name no model, or a look-up; order 0 with
 * other types needs all three callbacks, and nothing else of the task but x); DF_ST_BAD_DATA_HINT;
 * DF_ST_BAD_INT_RESULT_HINT; DF_ST_BAD_Y or DF_ST_BAD_COEFF (missing); DF_ST_NO_OUTPUT (r); DF_ST_NO_MEMORY (several
 * functions on several threads); then nothing has been written. After a failed callback whole blocks have been. */
#define NVO_ARK_DF_INTEGRATE(t, real)                                                                                 \
    typedef int32_t nvo_df_##t##IntegrateCallback(const int64_t* n, const int64_t* lcell, const real* llim,           \
                                                  const int64_t* rcell, const real* rlim, real* r, void* params,      \
                                                  void* reserved);                                                    \
    int32_t nvo_df_kernel_##t##DFIntegrate1D(                                                                         \
        DFTask1D* task, int64_t method, int64_t nlim, const real* llim, int64_t llimhint, const real* rlim,           \
        int64_t rlimhint, const real* ldatahint, const real* rdatahint, real* r, int64_t rhint,                       \
        nvo_df_##t##IntegrateCallback* le_cb, void* le_params, nvo_df_##t##IntegrateCallback* re_cb, void* re_params, \
        nvo_df_##t##IntegrateCallback* i_cb, void* i_params, nvo_df_##t##SearchCallback* search_cb,                   \
        void* search_params, const OstThreading* threading);
NVO_ARK_DF_INTEGRATE(s, float)
NVO_ARK_DF_INTEGRATE(d, double)
#undef NVO_ARK_DF_INTEGRATE

#ifdef __cplusplus
}
#endif

#endif
