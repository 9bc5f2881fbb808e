/* Summary statistics: a task refers to the caller's data and arrays; compute entries fill the arrays. For C and C++.
 *
 * A task is a record of pointers. Create it, register arrays by the edit entries, compute, delete it. It never copies
 * data, and all arrays stay the caller's. What has been computed stays in them and is read back by a call that
 * continues with more data. Names with an s work on float, names with a d on double; a task is for one of the two.
 *
 * Integers are registered by pointer too, and read anew by each computation. They are int32_t for index_width 0, else
 * int64_t, arrays of them as well.
 *
 * Entries return 0 or a negative status of this header. All checks come before anything is written, in the order that
 * each entry names. A task has no lock: one call at a time. Different tasks may be used by different threads at once.
 */
#ifndef NVO_ARK_STATISTICS_H
#define NVO_ARK_STATISTICS_H

#include <stdint.h>

#include "threading.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct OstSSTask OstSSTask;
typedef int32_t OstSSCleanup(OstSSTask* task);

/* ---- Codes ----------------------------------------------------------------------------------------------------- */

/* Of the edit entries: OST_STAT_PARAM_DIMENSION is 1 and so on, as in statistics_fields.def. */
enum {
#define FIELD_OWN(type, name)
#define FIELD_INTEGER(name, NAME, code, status) OST_STAT_PARAM_##NAME = code,
#define FIELD_REAL FIELD_INTEGER
#include "statistics_fields.def"
    OST_STAT_PARAM_END
};

/* Storage of observations: p variables, n observations of each. */
enum {
    OST_STAT_STORAGE_ROWS = 0x10000, /* x[j * n + i] is observation i of variable j */
    OST_STAT_STORAGE_COLS = 0x20000  /* x[i * p + j] */
};

/* Storage of symmetric matrices. Packed ones hold the variables that `indices` selects, one behind the other. */
enum {
    OST_STAT_MATRIX_FULL = 0,    /* p * p elements, both triangles */
    OST_STAT_MATRIX_LPACKED = 1, /* row after row, row i with columns 0, ..., i */
    OST_STAT_MATRIX_UPACKED = 2  /* row after row, row i with columns i, ..., p - 1 */
};

/* Estimates: bits of a 64-bit mask. */
#define OST_STAT_EST_RAW1 ((uint64_t)1 << 0) /* the mean */
#define OST_STAT_EST_RAW2 ((uint64_t)1 << 1)
#define OST_STAT_EST_RAW3 ((uint64_t)1 << 2)
#define OST_STAT_EST_RAW4 ((uint64_t)1 << 3)
#define OST_STAT_EST_CENTRAL2 ((uint64_t)1 << 4) /* the variance */
#define OST_STAT_EST_CENTRAL3 ((uint64_t)1 << 5)
#define OST_STAT_EST_CENTRAL4 ((uint64_t)1 << 6)
#define OST_STAT_EST_KURTOSIS ((uint64_t)1 << 7)
#define OST_STAT_EST_SKEWNESS ((uint64_t)1 << 8)
#define OST_STAT_EST_VARIATION ((uint64_t)1 << 9)
#define OST_STAT_EST_MIN ((uint64_t)1 << 10)
#define OST_STAT_EST_MAX ((uint64_t)1 << 11)
#define OST_STAT_EST_COV ((uint64_t)1 << 12)
#define OST_STAT_EST_COR ((uint64_t)1 << 13)
#define OST_STAT_EST_POOLED_COV ((uint64_t)1 << 14)
#define OST_STAT_EST_GROUP_COV ((uint64_t)1 << 15)
#define OST_STAT_EST_QUANTILES ((uint64_t)1 << 16)
#define OST_STAT_EST_ORDER_STATS ((uint64_t)1 << 17)
#define OST_STAT_EST_PARTIAL_COV ((uint64_t)1 << 20)
#define OST_STAT_EST_PARTIAL_COR ((uint64_t)1 << 21)
#define OST_STAT_EST_SUM1 ((uint64_t)1 << 25)
#define OST_STAT_EST_SUM2 ((uint64_t)1 << 26)
#define OST_STAT_EST_SUM3 ((uint64_t)1 << 27)
#define OST_STAT_EST_SUM4 ((uint64_t)1 << 28)
#define OST_STAT_EST_CSUM2 ((uint64_t)1 << 29)
#define OST_STAT_EST_CSUM3 ((uint64_t)1 << 30)
#define OST_STAT_EST_CSUM4 ((uint64_t)1 << 31)
#define OST_STAT_EST_CROSS_PRODUCT ((uint64_t)1 << 32)
#define OST_STAT_EST_MEDIAN_AD ((uint64_t)1 << 33)
#define OST_STAT_EST_MEAN_AD ((uint64_t)1 << 34)
#define OST_STAT_EST_POOLED_MEAN ((uint64_t)1 << 35)
#define OST_STAT_EST_GROUP_MEAN ((uint64_t)1 << 36)

/* Methods: bits of a 32-bit mask; each entry says which it takes. */
enum {
    OST_STAT_METHOD_FAST = 0x1,
    OST_STAT_METHOD_ONE_PASS = 0x2,
    OST_STAT_METHOD_STREAM = 0x40,          /* streaming quantiles: add the data, and report */
    OST_STAT_METHOD_STREAM_ADD_ONLY = 0x80, /* and don't */
    OST_STAT_METHOD_TWO_PASS = 0x100,
    OST_STAT_METHOD_FROM_SUMS = 0x200, /* so does 0x400 */
    OST_STAT_METHOD_RADIX_SORT = 0x100000
};

/* Status codes. One with the name of a field means that the field is missing or can't be used. */
enum {
    OST_STAT_OK = 0,
    OST_STAT_ERR_CODE = -3,            /* an edit entry has no such code */
    OST_STAT_ERR_MEMORY = -4000,       /* an allocation failed */
    OST_STAT_ERR_DIMENSION = -4001,    /* missing, or below 1 */
    OST_STAT_ERR_OBSERVATIONS = -4002, /* missing, or below 1, or too few for the method */
    OST_STAT_ERR_STORAGE = -4003,      /* neither rows nor columns */
    OST_STAT_ERR_INDICES = -4004,      /* missing, or not those that the streaming quantiles began with */
    OST_STAT_ERR_WEIGHTS = -4005,
    OST_STAT_ERR_MEAN = -4006,
    OST_STAT_ERR_RAW_MOMENT_2 = -4007,
    OST_STAT_ERR_RAW_MOMENT_3 = -4008,
    OST_STAT_ERR_RAW_MOMENT_4 = -4009,
    OST_STAT_ERR_CENTRAL_MOMENT_2 = -4010,
    OST_STAT_ERR_CENTRAL_MOMENT_3 = -4011,
    OST_STAT_ERR_CENTRAL_MOMENT_4 = -4012,
    OST_STAT_ERR_KURTOSIS = -4013,
    OST_STAT_ERR_SKEWNESS = -4014,
    OST_STAT_ERR_MINIMUM = -4015,
    OST_STAT_ERR_MAXIMUM = -4016,
    OST_STAT_ERR_VARIATION = -4017,
    OST_STAT_ERR_COV = -4018,
    OST_STAT_ERR_COR = -4019,
    OST_STAT_ERR_ACC_WEIGHTS = -4020, /* from sums: neither accumulated weights nor a count without weights */
    OST_STAT_ERR_QUANTILE_ORDERS = -4021,
    OST_STAT_ERR_QUANTILE_COUNT = -4022, /* missing or negative, or an order outside [0, 1] */
    OST_STAT_ERR_QUANTILES = -4023,
    OST_STAT_ERR_ORDER_STATS = -4024,
    OST_STAT_ERR_METHOD = -4029, /* no method of the entry, or one that can't give the estimates */
    OST_STAT_ERR_TASK = -4031,   /* null task */
    OST_STAT_ERR_DATA = -4032,
    OST_STAT_ERR_MATRIX_STORAGE = -4044,       /* a storage code is missing, or sorting in place between two storages */
    OST_STAT_ERR_STREAM_PARAMS = -4064,        /* stream_param_count missing */
    OST_STAT_ERR_STREAM_EPSILON = -4065,       /* stream_params missing */
    OST_STAT_ERR_STREAM_PARAM_COUNT = -4066,   /* not 1 */
    OST_STAT_ERR_STREAM_EPSILON_RANGE = -4067, /* not in (0, 1] */
    OST_STAT_ERR_STREAM_ORDERS = -4068,
    OST_STAT_ERR_STREAM_ORDER_COUNT = -4069, /* missing or negative, or an order outside [0, 1] */
    OST_STAT_ERR_STREAM_QUANTILES = -4070,
    OST_STAT_ERR_SUMS = -4074, /* of the sum; those of the other sums and the cross product follow, down to -4081 */
    OST_STAT_ERR_MEDIAN_AD = -4082,
    OST_STAT_ERR_MEAN_AD = -4083,
    OST_STAT_ERR_SORT_OUTPUT = -4084,
    OST_STAT_ERR_SORT_INPLACE_INDICES = -4085
};

/* ---- The task -------------------------------------------------------------------------------------------------- */

/* Creates a task for p variables; x, with n and x_storage, w and indices may be null and be registered later. Checked,
 * in this order: p; if x isn't null, x_storage, its value and n. Otherwise OST_STAT_ERR_MEMORY. *task is written on
 * success alone. */
int32_t __ostsSSNewTask(OstSSTask** task, const void* p, const void* n, const void* x_storage, const float* x,
                        const float* w, const void* indices, int32_t index_width);
int32_t __ostdSSNewTask(OstSSTask** task, const void* p, const void* n, const void* x_storage, const double* x,
                        const double* w, const void* indices, int32_t index_width);

/* Frees the task and what it owns, and stores null through task_address. OST_STAT_ERR_TASK for a null address, and for
 * the address of a null pointer. */
int32_t __ostSSDeleteTask(OstSSTask** task_address);

/* Registers `value` in the field of a code. OST_STAT_ERR_TASK for a null task, OST_STAT_ERR_CODE for a code that isn't
 * one of the entry's type, and the field's own status for a null value, which leaves the field as it was. */
int32_t __ostiSSEditTask(OstSSTask* task, int32_t code, const void* value);
int32_t __ostsSSEditTask(OstSSTask* task, int32_t code, const float* value);
int32_t __ostdSSEditTask(OstSSTask* task, int32_t code, const double* value);

/* Several fields at once, each argument the field of its name. A null argument leaves its field as it was; a null task
 * is the only error. */
#define NVO_ARK_SS_GROUPED_EDITORS(t, real)                                                                           \
    int32_t __ost##t##SSEditMoments(OstSSTask* task, real* mean, real* raw_moment_2, real* raw_moment_3,              \
                                    real* raw_moment_4, real* central_moment_2, real* central_moment_3,               \
                                    real* central_moment_4);                                                          \
    int32_t __ost##t##SSEditSums(OstSSTask* task, real* sum, real* raw_sum_2, real* raw_sum_3, real* raw_sum_4,       \
                                 real* central_sum_2, real* central_sum_3, real* central_sum_4);                      \
    int32_t __ost##t##SSEditCovCor(OstSSTask* task, real* mean, real* cov, const void* cov_storage, real* cor,        \
                                   const void* cor_storage);                                                          \
    int32_t __ost##t##SSEditCP(OstSSTask* task, real* mean, real* sum, real* cross_product,                           \
                               const void* cross_product_storage);                                                    \
    int32_t __ost##t##SSEditPartialCovCor(OstSSTask* task, const void* partial_indices, real* cov,                    \
                                          const void* cov_storage, real* cor, const void* cor_storage,                \
                                          real* partial_cov, const void* partial_cov_storage, real* partial_cor,      \
                                          const void* partial_cor_storage);                                           \
    int32_t __ost##t##SSEditQuantiles(OstSSTask* task, const void* quantile_order_count, const real* quantile_orders, \
                                      real* quantiles, real* order_statistics, const void* order_statistics_storage); \
    int32_t __ost##t##SSEditStreamQuantiles(OstSSTask* task, const void* stream_order_count,                          \
                                            const real* stream_orders, real* stream_quantiles,                        \
                                            const void* stream_param_count, const real* stream_params);               \
    int32_t __ost##t##SSEditPooledCovariance(OstSSTask* task, const void* group_indices, real* pooled_mean,           \
                                             real* pooled_cov, const void* group_output_mask, real* group_means,      \
                                             real* group_cov);                                                        \
    int32_t __ost##t##SSEditRCov(OstSSTask* task, const void* robust_cov_storage, const void* robust_param_count,     \
                                 const real* robust_params, real* robust_cov, real* robust_mean);                     \
    int32_t __ost##t##SSEditOutDetect(OstSSTask* task, const void* outlier_param_count, const real* outlier_params,   \
                                      real* outlier_weights);                                                         \
    int32_t __ost##t##SSEditMissingVals(                                                                              \
        OstSSTask* task, const void* mi_param_count, const real* mi_params, const void* mi_init_count,                \
        const real* mi_init_estimates, const void* mi_prior_count, const real* mi_prior,                              \
        const void* mi_simulated_count, real* mi_simulated, const void* mi_estimates_count, real* mi_estimates);      \
    int32_t __ost##t##SSEditMtxParametrz(OstSSTask* task, const real* cor, const void* cor_storage,                   \
                                         real* param_matrix, const void* param_matrix_storage);
NVO_ARK_SS_GROUPED_EDITORS(s, float)
NVO_ARK_SS_GROUPED_EDITORS(d, double)
#undef NVO_ARK_SS_GROUPED_EDITORS

/* ---- Moments and covariance ------------------------------------------------------------------------------------ */

/* Moments, sums, kurtosis, skewness, coefficient of variation, covariance, correlation, cross-products: any mix of them
 * in one call. With weights w, W their sum and W2 that of their squares (W = W2 = n without weights), means m:
 *
 *   RAW1 ... RAW4             sum of w x^k / W; RAW1 is the mean        SUM1 ... SUM4     sum of w x^k
 *   CENTRAL2                  CSUM2 W / (W^2 - W2), the variance         CSUM2 ... CSUM4   sum of w (x - m)^k
 *   CENTRAL3, CENTRAL4        CSUM3 / W, CSUM4 / W
 *   KURTOSIS                  CENTRAL4 / CENTRAL2^2 - 3                 SKEWNESS          CENTRAL3 / CENTRAL2^(3/2)
 *   VARIATION                 CENTRAL2^(1/2) / RAW1
 *   CROSS_PRODUCT             sum of w (x_i - m_i) (x_j - m_j)          COV               CROSS_PRODUCT / (W - W2 / W)
 *   COR                       correlations, and on the diagonal the variances
 *
 * What is divided by 0 comes out as the arithmetic has it: one observation has the variance 0 / 0, constant data have
 * the skewness 0 / 0. COR reports a variance of 0 as InvSqrt does, by the thread's error mode.
 *
 * Methods; one of the first three, or none of them and the last:
 *
 *   FAST        Sums of powers, central results from them; cross-products by BLAS. Errors of a variance grow with
 *               (m / deviation)^2: for data whose mean isn't far beyond their spread. Observations of weight 0 are
 *               passed over; with cross-products, what they hold must be finite.
 *   ONE_PASS    Updates of means and central sums, observation by observation; errors grow with m / deviation. The
 *               observations of weight 0 in front are passed over. (B. P. Welford, Technometrics 4 (1962), 419-420;
 *               P. Pebay, Sandia Report SAND2008-6212 (2008).)
 *   TWO_PASS    Central sums about the means that `mean` holds on entry; as accurate as these are. Cross-products, by
 *               BLAS: sums of w x_i x_j less W m_i m_j, with the errors of FAST.
 *   FROM_SUMS   No data: RAW from the arrays of SUM, CENTRAL from CSUM, COV and COR from cross_product; the ratios from
 *               the moments as they stand then. With W and W2 from accumulated_weights, or both n. SUM, CSUM and
 *               CROSS_PRODUCT can't be had so.
 *
 * All sums are in the precision of the task. Relative errors are some n^(1/2) epsilon times the factors above, n
 * epsilon at worst. An estimate has the same bits whatever else is asked for, except cross-products of BLAS.
 *
 * Arrays that have to be registered, beside that of the estimate itself, matrices with their storage:
 *
 *   CENTRAL2, 3, 4            mean and the raw moments 2, ..., k         from sums: central_sum_k
 *   KURTOSIS                  mean, raw moments 2 to 4, central 2, 4     from sums: mean, central 2, 4
 *   SKEWNESS                  mean, raw moments 2, 3, central 2, 3       from sums: mean, central 2, 3
 *   VARIATION                 mean, raw moment 2, central 2              from sums: mean, central 2
 *   CSUM2, 3, 4               mean; FAST: the raw moments 2, ..., k too
 *   COV, COR, CROSS_PRODUCT   mean                                       from sums: cross_product
 *   RAW1, ..., RAW4           nothing                                    from sums: the sum of the order
 *   any, TWO_PASS             mean
 *
 * They are written, too. So are, of the other orders that are computed on the way, the arrays from which a later call
 * goes on. Everything else stays as it is, and so does whatever belongs to a variable that `indices` leaves out.
 *
 * Data in portions: with accumulated_weights registered, {0, 0} at first, a call goes on from the one before. Ask for
 * the same estimates with the same method, p and arrays each time; data, n and weights are the portion's. What is there
 * is taken: raw orders from the moments, else from the sums; central orders from the central sums, else from the
 * moments; the matrix from cross_product, else from cov, else from cor. For ONE_PASS orders 3 and 4 of the central kind
 * are updated by the lower ones: register central moments (or sums) of all orders below for results as exact as those
 * of one call. Without them they are made anew from the raw moments, with errors as of FAST; without these either
 * (central sums alone) they begin at 0 in each portion, and the result is wrong. For TWO_PASS central sums add up about
 * the means that each call is given: give the same, those of all the data. A first portion with a single observation of
 * weight needs the array of CSUM2 for that: its variance is 0 / 0 and carries nothing. Matrices are right after a call
 * that is given the means of all so far.
 *
 * Checks, in this order: task; dimension; the method (OST_STAT_ERR_METHOD); estimates that can't be had from sums
 * (OST_STAT_ERR_METHOD); the needed arrays, in the order mean, raw 2 to 4, central 2 to 4, cov, cor, kurtosis,
 * skewness, variation, sum, raw sums 2 to 4, central sums 2 to 4, cross_product; that a matrix has no more than 2^31 -
 * 1 rows (OST_STAT_ERR_DIMENSION); then observations, data, data_storage (OST_STAT_ERR_MATRIX_STORAGE) and its value;
 * from sums that there are accumulated_weights, or observations and no weights (OST_STAT_ERR_ACC_WEIGHTS). Bits of
 * other entries' estimates and methods aren't looked at.
 *
 * A team has at most n / 16 threads, and one for each 8192 of n p values, or of n p^2 products for a matrix. Each works
 * on a piece of the observations, and their sums are merged in the order of the pieces (T. F. Chan, G. H. Golub, R. J.
 * LeVeque, Stanford Report STAN-CS-79-773 (1979)). So results depend on the number of threads, in their last bits, but
 * not on the run. Scratch: some 8 p numbers a thread; for a matrix p^2 more, and with weights or ONE_PASS copies of a
 * block of observations, of 256 KiB or 64 observations.
 *
 * OST_STAT_ERR_MEMORY: nothing has been written. TWO_PASS keeps a copy of the means, from which cross-products go on;
 * if only that can't be had, the results are there, and a call that goes on takes the means that it is given. */
int32_t _ostsSSBasic(OstSSTask* task, uint64_t estimates, uint32_t method, const OstThreading* threading);
int32_t _ostdSSBasic(OstSSTask* task, uint64_t estimates, uint32_t method, const OstThreading* threading);

/* Smallest and largest values: OST_STAT_EST_MIN and OST_STAT_EST_MAX, by FAST or ONE_PASS. The arrays are running
 * values: what they hold takes part, so begin with infinities, or with the first observation. x replaces a minimum m if
 * m > x and a maximum if x > m: NaN never gets in nor out, and of zeros the first stays. No team.
 *
 * Checks: task, dimension, observations, data, data_storage (OST_STAT_ERR_MATRIX_STORAGE), its value, minimum, maximum,
 * method (OST_STAT_ERR_METHOD). Data in rows take a list of p integers as scratch; OST_STAT_ERR_MEMORY comes before
 * anything is written. */
int32_t _ostsSSMinmax(OstSSTask* task, uint64_t estimates, uint32_t method);
int32_t _ostdSSMinmax(OstSSTask* task, uint64_t estimates, uint32_t method);

/* Absolute deviations, a variable a thread: OST_STAT_EST_MEDIAN_AD is the median of |x - median|, by FAST;
 * OST_STAT_EST_MEAN_AD the weighted mean of |x - mean|, with the mean computed by FAST, or by TWO_PASS as `mean` has
 * it. Medians are those of the quantile entry, without weights; means those of the entry above, on one variable.
 *
 * Checks: task, dimension, observations, data, data_storage (OST_STAT_ERR_MATRIX_STORAGE), its value;
 * median_abs_deviation; mean_abs_deviation, a method for the mean, the given mean; a method for the median. Scratch: n
 * numbers a thread, and that of the entries inside. A status of theirs is the result; then some variables may have
 * theirs and others not. */
int32_t _ostsSSMAD(OstSSTask* task, uint64_t estimates, uint32_t method, const OstThreading* threading);
int32_t _ostdSSMAD(OstSSTask* task, uint64_t estimates, uint32_t method, const OstThreading* threading);

/* ---- Quantiles and sorting ------------------------------------------------------------------------------------- */

/* Results don't depend on storage or threads. Sorted is what stands in total order, as the radix sort of primitives.h
 * has it: NaNs with the sign bit, -infinity, ..., -0, +0, ..., +infinity, NaNs without. NaNs so lie at the ends, and
 * count as observations. Variables that `indices` leaves out keep what their places in the outputs hold.
 *
 * The entries with a task first look for: the task (OST_STAT_ERR_TASK), dimension and observations, both there and
 * above 0, data, and data_storage (OST_STAT_ERR_MATRIX_STORAGE). A storage code that is neither rows nor columns is
 * OST_STAT_ERR_STORAGE. One variable lies the same either way. Scratch that can't be had is OST_STAT_ERR_MEMORY, before
 * anything is written. Variables are spread over the team, a variable is one thread's. */

/* Quantiles and order statistics: estimates OST_STAT_EST_QUANTILES and OST_STAT_EST_ORDER_STATS, method
 * OST_STAT_METHOD_FAST.
 *
 * On sorted x, with h = o (n - 1), j = trunc(h) and k = min(j + 1, n - 1), the quantile of order o is
 * (x[k] - x[j]) (h - j) + x[j], and x[j] itself if h = j or x[k] = x[j], so that infinities stay what they are.
 * (R. Hyndman, Y. Fan, Sample quantiles in statistical packages, The American Statistician 50 (1996), 361-365,
 * definition 7.) h is formed in double for single precision, too. quantiles[j * m + i] is that of variable j and order
 * i of m = quantile_order_count; the orders needn't be sorted. A count of 0 asks for none.
 *
 * order_statistics is a matrix like the data, each variable sorted. It may be the data, in the same storage.
 *
 * Checked, behind the above: data_storage's code; for quantiles: quantiles, quantile_orders, quantile_order_count, that
 * it isn't negative, and that all orders are in [0, 1], else OST_STAT_ERR_QUANTILE_COUNT; for order statistics:
 * order_statistics, order_statistics_storage (OST_STAT_ERR_MATRIX_STORAGE) and its code; the method, else
 * OST_STAT_ERR_METHOD.
 *
 * Quantiles alone take some n log(m) steps a variable, order statistics a radix sort. Scratch a thread: n numbers, 2 n
 * for order statistics in columns. There are as many threads as have room in 1 GiB, and one in any case. */
int32_t _ostsSSQuantiles(OstSSTask* task, uint64_t estimates, uint32_t method, const OstThreading* threading);
int32_t _ostdSSQuantiles(OstSSTask* task, uint64_t estimates, uint32_t method, const OstThreading* threading);

/* Each variable sorted, into sort_output; method OST_STAT_METHOD_RADIX_SORT, estimates aren't looked at. The output may
 * be the data.
 *
 * Checked, behind the above: sort_output; sort_output_storage (OST_STAT_ERR_MATRIX_STORAGE); if the output is the data,
 * that both are rows or both aren't (OST_STAT_ERR_MATRIX_STORAGE), and that indices is null
 * (OST_STAT_ERR_SORT_INPLACE_INDICES); both storage codes; the method, else OST_STAT_ERR_METHOD.
 *
 * Scratch a thread: n numbers, 2 n for an output in columns. There are as many threads as have room in max_threads()
 * GiB, and one in any case. */
int32_t _ostsSSSort(OstSSTask* task, uint64_t estimates, uint32_t method, const OstThreading* threading);
int32_t _ostdSSSort(OstSSTask* task, uint64_t estimates, uint32_t method, const OstThreading* threading);

/* The weighted quantile of order o = quantile_orders[0] for each variable j, in quantiles[j]; 0.5 is the median.
 * Estimates and method aren't looked at, and there is no team. `weights` should not be negative; null: all are 1.
 *
 * W is the sum of the weights and T = W o. Along sorted x, k is the first place with c >= T, c being the sum of the
 * weights w up to there; all sums are formed in double. Then the result is
 *   c = T:  x[k]; with n even and k < n - 1 the mean of x[k] and the next x with a weight above 0, or of the last x
 *   c > T:  x[k], if c0 = c - w[k] is not above 0, or if n is odd and c0 = (W - w[k]) o, or if x[i] is the same; else
 *           (x[k] - x[i]) (T - c0) / w[k] + x[i], i being the last place before k with a weight above 0.
 * If rounding keeps c below T, or a weight is NaN, it is the last x with a weight above 0, and the last of all if none
 * has one. Which of equal x comes first is open, and with it the weight that the last formula divides by.
 *
 * Checked, behind the above: data_storage's code, quantiles, quantile_orders, and the order in [0, 1], else
 * OST_STAT_ERR_QUANTILE_COUNT. Scratch: 2 n numbers. */
int32_t _ostsSSWMedian(OstSSTask* task, uint64_t estimates, uint32_t method);
int32_t _ostdSSWMedian(OstSSTask* task, uint64_t estimates, uint32_t method);

/* Quicksort in place, for n numbers; with Step they are `stride` elements apart, and QuickMapSort moves each w along
 * with its x. Ascending by comparison, not stable. n below 1 does nothing. At most c n log(n) steps whatever the data,
 * no memory. With NaNs nothing is lost, but the order is none. */
void __ostsQSort(int64_t n, float* x);
void __ostdQSort(int64_t n, double* x);
void __ostsQSortStep(int64_t n, float* x, int64_t stride);
void __ostdQSortStep(int64_t n, double* x, int64_t stride);
void _vsSSQuickMapSort(int64_t n, float* x, float* w);
void _vdSSQuickMapSort(int64_t n, double* x, double* w);

/* Rearranges n numbers so that x[k] is the one of rank k, from 0, none above it before and none below it behind, and
 * returns it. A k outside of 0, ..., n - 1 gives NaN and leaves x as it was. */
float __ostsQSortSelect(int64_t n, float* x, int64_t k);
double __ostdQSortSelect(int64_t n, double* x, int64_t k);

/* ---- Streaming quantiles --------------------------------------------------------------------------------------- */

/* Quantiles of data that come in portions and are too many to hold. The task keeps a summary of each variable; a call
 * adds the n observations of `data`, none for n = 0, to it. OST_STAT_METHOD_STREAM_ADD_ONLY leaves it at that.
 * OST_STAT_METHOD_STREAM then reports: for order o, a value of all the data so far, N of them, whose rank is off o N,
 * rounded up or down, by e N at most. Quantile k of the v-th variable that takes part, v from 0, goes to
 * stream_quantiles[v * stream_order_count + k]. As long as there are no data, nothing is written. `estimates` and
 * weights aren't read.
 *
 * Orders 0 and 1 give the smallest and the largest value, exactly. As long as N < 1/e all ranks are known: the value is
 * the one of rank o N, rounded down, or 1. Values are in total order: NaNs with the sign bit set, -infinity, ..., -0,
 * +0, ..., infinity, NaNs with the sign bit clear.
 *
 * Results depend on the data and their order alone, not on how they are cut into calls, on threads, storage or
 * index_width. Variables are shared out over the team, as long as there is work for it.
 *
 * Checked, in this order:
 *   OST_STAT_ERR_TASK                  null task
 *   OST_STAT_ERR_DIMENSION             dimension missing or below 1, or not that of the first call
 *   OST_STAT_ERR_OBSERVATIONS          observations missing, or negative
 *   OST_STAT_ERR_DATA                  data missing; this and the next two for n > 0 alone
 *   OST_STAT_ERR_MATRIX_STORAGE        data_storage missing
 *   OST_STAT_ERR_STORAGE               it is neither rows nor columns
 *   OST_STAT_ERR_STREAM_QUANTILES      stream_quantiles missing
 *   OST_STAT_ERR_STREAM_ORDERS         stream_orders missing
 *   OST_STAT_ERR_STREAM_ORDER_COUNT    stream_order_count missing, or negative
 *   OST_STAT_ERR_STREAM_PARAMS         stream_param_count missing
 *   OST_STAT_ERR_STREAM_PARAM_COUNT    it isn't 1
 *   OST_STAT_ERR_STREAM_ORDER_COUNT    an order outside [0, 1]
 *   OST_STAT_ERR_STREAM_EPSILON        stream_params missing
 *   OST_STAT_ERR_METHOD                neither of the two methods
 *   OST_STAT_ERR_STREAM_EPSILON_RANGE  e = stream_params[0] outside (0, 1]
 *   OST_STAT_ERR_INDICES               `indices` select nothing, or not what they selected at the first call
 *   OST_STAT_ERR_MEMORY                an allocation failed, or a size has no number
 * A call that fails has written nothing and added nothing: the same call can be made again.
 *
 * Data, n, storage, orders and results may be others in each call. With another e the larger one bounds the error. The
 * summaries end with the task, or with __ostSQuantilesFreeBuffers, which lets the task start over.
 *
 * Memory, of each variable: stages s = 0, 1, ... take N(s) = [(2^(s+2) - 1)/e] - [(2^(s+1) - 1)/e] observations each,
 * where [] rounds down. With lg = log2(e N(s)), about s + 1, L = [lg + 2], and b = [lg/e], but no less than 1/e, a
 * stage has a row of b + 2 (L - 1) elements and L rows of b/2 + L. An element is a number and two words of 64 bits.
 * With double, the S stages of N observations, S about log2(e N), come to some S (S + 1) (2 S + 13)/(4 e) words: 14 MB
 * for e = 0.001 and N = 10^7. While a call runs, each thread may need one row of the largest stage twice, and for a
 * report what a variable's summary has in use twice.
 *
 * Method: Q. Zhang, W. Wang, A fast algorithm for approximate quantiles in high speed data streams, SSDBM 2007. */
int32_t _ostsSSStreamQuantiles(OstSSTask* task, uint64_t estimates, uint32_t method, const OstThreading* threading);
int32_t _ostdSSStreamQuantiles(OstSSTask* task, uint64_t estimates, uint32_t method, const OstThreading* threading);

/* Frees the summaries of the streaming quantiles. OST_STAT_ERR_TASK for a null task; nothing to free is fine. */
int32_t __ostSQuantilesFreeBuffers(OstSSTask* task);

#ifdef __cplusplus
}
#endif

#endif
