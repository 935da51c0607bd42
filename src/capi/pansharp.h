/** @file
 * Pan-sharpening of images in memory, for programs in C and languages that call C.
 *
 *     char error[1024];
 *     pansharp *library = pansharp_open(NULL, error, sizeof error);
 *     pansharp_job job;
 *     pansharp_job_init(&job, sizeof job);
 *     ... fill the job ...
 *     pansharp_result result = pansharp_fuse(library, &job, error, sizeof error);
 *     pansharp_close(library);
 *
 * One opened library may fuse for several threads at once. Nothing here prints or ends the program.
 * Errors are kept only in the buffer of the call that failed. */
#ifndef PANSHARP_H
#define PANSHARP_H

#include <stddef.h>
#include <stdint.h>

/** Marks what the library exports. */
#if defined(_WIN32)
#if defined(PANSHARP_BUILDING)
#define PANSHARP_API __declspec(dllexport)
#else
#define PANSHARP_API __declspec(dllimport)
#endif
#else
#define PANSHARP_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** How a call went. */
typedef enum pansharp_result {
    PANSHARP_OK = 0,           /**< all of the output is written */
    PANSHARP_BAD_ARGUMENT = 1, /**< the job contradicts itself; nothing was written */
    PANSHARP_FAILED = 2,       /**< parts of the output may have been written, here and below */
    PANSHARP_CANCELLED = 3     /**< by the progress function; parts may have been written */
} pansharp_result;

/** The loaded plug-in, which fuses. */
typedef struct pansharp pansharp;

/** An image to read. Samples are unsigned, in the byte order of the machine, and may lie at any address.
 * Strides are in bytes and may be negative; if all three are 0, samples are packed with bands interleaved by
 * pixel.
 */
typedef struct pansharp_image {
    const void* samples;  /**< band 0 of the upper left pixel; not modified, and read only during the call */
    uint32_t columns;     /**< pixels across, 1 or more */
    uint32_t rows;        /**< pixels down, 1 or more */
    uint32_t bands;       /**< samples of a pixel, 1 or more */
    ptrdiff_t row_stride; /**< bytes from a pixel to the one below */
    ptrdiff_t pixel_stride; /**< bytes from a pixel to the one right of it */
    ptrdiff_t band_stride;  /**< bytes from a sample to that of the next band */
    /** How the image lies under pan; 0 in the image that is pan.
     * Width of one of its pixels in pan pixels, 1 or more. 0: both images show the same ground, so the width
     * is pan's number of columns divided by its own. */
    double pixel_width;
    double pixel_height; /**< the same down, from the rows */
    /** Where the upper left corner of pan lies on this image: columns to the right of its own corner. */
    double offset_x;
    double offset_y; /**< the same down: rows below its own corner */
} pansharp_image;

/** Where the fused image goes: pan's columns and rows, one band for each output band. Strides as above. No
 * part of it may lie within the extent of an image that is read. */
typedef struct pansharp_output {
    void* samples;          /**< band 0 of the upper left pixel; written during the call */
    ptrdiff_t row_stride;   /**< bytes from a pixel to the one below */
    ptrdiff_t pixel_stride; /**< bytes from a pixel to the one right of it */
    ptrdiff_t band_stride;  /**< bytes from a sample to that of the next band */
} pansharp_output;

/** What says that pixels of an image have no data, beside a mask; to be added up. */
typedef enum pansharp_gap_rule {
    PANSHARP_NO_DATA_VALUE = 1, /**< the sample no_data */
    /** Zeros in all bands that are connected with the edge, when a twentieth of the edge is such. Not looked
     * for where there is a mask or where no_data is 0. An image without any data is refused. For whole
     * scenes: the command does so unless it is told not to. */
    PANSHARP_COLLAR = 2
} pansharp_gap_rule;

/** Which pixels of an image have no data. All 0: every pixel has. A pixel that has none in one band has none
 * in all. Such pixels take no part in anything: those beside them are interpolated from the others. */
typedef struct pansharp_gaps {
    const uint8_t* valid;   /**< a byte per pixel of the image, 0 without data; may be left out */
    ptrdiff_t row_stride;   /**< bytes from one of them to that of the pixel below; both 0: packed */
    ptrdiff_t pixel_stride; /**< bytes to that of the pixel to the right */
    uint32_t rules;         /**< of pansharp_gap_rule */
    uint32_t no_data;       /**< with PANSHARP_NO_DATA_VALUE: the sample that means no data, in any band */
} pansharp_gaps;

/** Where to tell which pixels of the fused image have data: those that pan and each image beneath have data
 * for. The output has there the no_data of the multispectral image, else that of pan, else that of the
 * infrared one, else 0. A sample with data that equals such a value becomes the next one. */
typedef struct pansharp_mask {
    uint8_t* valid;         /**< a byte per pixel of pan, 255 with data, 0 without; may be left out */
    ptrdiff_t row_stride;   /**< bytes to the byte of the pixel below; both 0: packed */
    ptrdiff_t pixel_stride; /**< bytes to the byte of the pixel to the right */
} pansharp_mask;

/** How the coarse images are interpolated on the grid of pan. */
typedef enum pansharp_resampling {
    PANSHARP_RESAMPLING_DEFAULT =
        0,                 /**< cubic where the method compares pan with its low-pass, else bilinear */
    PANSHARP_BILINEAR = 1, /**< between the four nearest pixels */
    PANSHARP_CUBIC = 2     /**< convolution of 4 x 4 pixels with a = -0.5 */
} pansharp_resampling;

/** A low_pass_mean that says: there is none, since no pixel tells it. */
#define PANSHARP_NO_MEAN (-1.0)

/** The gains of a band: how much of pan's detail it takes. Each number is 0 or more. */
typedef struct pansharp_gains {
    double gain;       /**< a share of the detail */
    double ratio_gain; /**< a share of the detail times the band's ratio to pan's low-pass */
} pansharp_gains;

/** What pansharp_fit found. */
typedef struct pansharp_detail {
    double transfer;      /**< for the member of the job */
    double low_pass_mean; /**< for the member of the job; PANSHARP_NO_MEAN where no pixel tells it */
    /** How well the bands make up pan's low-pass by that blur, 1 at best; below 0.5 the transfer is the usual
     * 0.3, and where the job gave one this is 0. */
    double blur_r_squared;
    uint64_t samples; /**< pixels one scale down that the gains were fitted to, or are judged by */
    /** ERGAS one scale down, where the truth is known, fused and merely upsampled. Too few samples: both 0.
     */
    double error;
    double plain_error; /**< of mere upsampling */
} pansharp_detail;

/** How a job was done: what was given, found and taken by default. */
typedef struct pansharp_used {
    size_t struct_size;     /**< to be set to sizeof(pansharp_used) before the call */
    const char* method;     /**< lives until the plug-in is closed */
    uint32_t resampling;    /**< a pansharp_resampling, not the default */
    uint32_t weight_count;  /**< bands that the method weighs; 0 for one that weighs none */
    double* weights;        /**< set before the call: room for one per multispectral band; may be null */
    double infrared_weight; /**< 0 without an infrared image */
    pansharp_gains* gains;  /**< set before the call: room for one per multispectral band; may be null */
    pansharp_detail detail; /**< of a method that compares pan with its low-pass; else all 0 */
    uint64_t collars[3];    /**< pixels of the collars of pan, multispectral and infrared image */
    uint64_t gaps;          /**< pixels of the output without data */
} pansharp_used;

/** Called with how many rows are done, in ascending order, 'rows' at the end; on the thread that called
 * pansharp_fuse. An answer other than 0 cancels. */
typedef int (*pansharp_progress)(uint32_t rows_done, uint32_t rows, void* data);

/** What to fuse and how. pansharp_job_init sets all members to 0, which leaves out everything that may be
 * left out. The library keeps no pointer to it. */
typedef struct pansharp_job {
    size_t struct_size;           /**< set by pansharp_job_init */
    uint32_t bits_per_sample;     /**< 8 or 16, in all images */
    pansharp_image pan;           /**< 1 band */
    pansharp_image multispectral; /**< the number of bands that the method needs, 1 or more */
    pansharp_image infrared;      /**< 1 band; may be left out */
    pansharp_output output;       /**< pan's columns and rows */
    const uint32_t*
        output_bands;           /**< multispectral bands to write, counted from 1; left out: all, in order */
    uint32_t output_band_count; /**< numbers at output_bands */
    /** A keyword in any letter case; left out: the one that the plug-in recommends, or its first where
     * weights or an infrared image are given. */
    const char* method;
    /** Weight of each multispectral band in the simulated pan; left out: equal weights, the infrared band
     * counted. */
    const double* weights;
    uint32_t weight_count;         /**< numbers at weights: one per band */
    const double* infrared_weight; /**< one number; needed with an infrared image and weights */
    uint32_t threads;              /**< 0: one per processor */
    pansharp_progress progress;    /**< may be left out */
    void* progress_data;           /**< handed to it */
    uint32_t resampling;           /**< a pansharp_resampling */
    /* For a method that compares pan with its low-pass, which the library makes. What is left out is fitted
     * to all of the job's images. Give the tiles of a scene what pansharp_fit found in the whole scene. */
    uint32_t gain_count;         /**< numbers at gains: one per multispectral band */
    const pansharp_gains* gains; /**< of each multispectral band */
    /** Modulation transfer of the multispectral sensor at the Nyquist frequency of its pixels, 0.05 to 0.9.
     */
    double transfer;
    /** Mean of pan's low-pass, above 0, or PANSHARP_NO_MEAN. 0: measured, with or without a fit. */
    double low_pass_mean;
    pansharp_gaps pan_gaps;           /**< which pixels of pan have no data; this and the next two: all 0 */
    pansharp_gaps multispectral_gaps; /**< for none, and for pansharp_fuse_rows */
    pansharp_gaps infrared_gaps;      /**< likewise */
    pansharp_mask output_mask;        /**< which pixels of the output have data; may be left out */
    /** Bits that 16-bit samples use, 9 to 16; 0: all. Samples at the largest such value are saturated: no fit
     * uses them. No sample of the output is larger. */
    uint32_t bits_used;
    pansharp_used* used; /**< gets what the job was done with; may be left out */
} pansharp_job;

/** What pansharp_fit_weights found beside the weights. */
typedef struct pansharp_weight_fit {
    size_t struct_size;     /**< to be set to sizeof(pansharp_weight_fit) before the call */
    double infrared_weight; /**< 0 without an infrared image */
    /** 1 - what the weighted bands leave over of pan / its variation; below 0.8 they make up pan badly. */
    double r_squared;
    uint64_t samples;   /**< multispectral pixels that the weights were fitted to */
    char obstacle[256]; /**< why none can be fitted; empty when they can */
} pansharp_weight_fit;

/* Every function that can fail takes a buffer for the reason, in UTF-8, cut to its size and always ended with
 * a zero byte; empty after a success. It may be null when its size is 0. */

/** Loads the plug-in from a file; when the path is null or empty, from where it is installed. Null on
 * failure.
 */
PANSHARP_API pansharp* pansharp_open(const char* plugin_path, char* error, size_t error_size);

/** Gives it back, when none of its calls is under way. Null is accepted. */
PANSHARP_API void pansharp_close(pansharp* library);

/** Version of this library, such as "1.2.3". */
PANSHARP_API const char* pansharp_version(void);

/** Version of the plug-in; "" for null. It lives until the plug-in is closed. */
PANSHARP_API const char* pansharp_plugin_version(const pansharp* library);

/** The file that the plug-in was loaded from; "" for null. It lives until the plug-in is closed. */
PANSHARP_API const char* pansharp_plugin_path(const pansharp* library);

/** Keyword of one of the plug-in's methods, counted from 0; null past the last. */
PANSHARP_API const char* pansharp_method(const pansharp* library, uint32_t position);

/** What the plug-in says of a method. The texts live until the plug-in is closed. */
typedef struct pansharp_method_info {
    const char* keyword;    /**< such as "KOVA" */
    const char* summary;    /**< one line */
    const char* formula;    /**< of a pixel of a band */
    const char* advice;     /**< when to take it */
    uint32_t minimum_bands; /**< multispectral ones */
    uint32_t fused_bands;   /**< this many bands are fused, the first ones; 0: all */
    uint32_t weighs_bands;  /**< 1 where pansharp_fit_weights has something to fit */
    uint32_t uses_low_pass; /**< 1 where pansharp_fit has */
    uint32_t recommended;   /**< 1 for the one that a job without a method gets */
} pansharp_method_info;

/** Tells of one of the plug-in's methods, counted from 0. 'size' is sizeof(pansharp_method_info) as the
 * caller knows it: no more is written. 0 past the last, and for null; else 1. */
PANSHARP_API int pansharp_describe_method(const pansharp* library, uint32_t position,
                                          pansharp_method_info* info, size_t size);

/** Empties a job. 'size' is sizeof(pansharp_job) as the caller knows it. Null is accepted. */
PANSHARP_API void pansharp_job_init(pansharp_job* job, size_t size);

/** Fits what the job leaves open of transfer and gains, as pansharp_fuse would. 'gains' has room for one pair
 * per multispectral band, and 'detail' for the rest; either may be null. The output, progress and threads of
 * the job are ignored. A method that does not compare pan with its low-pass has nothing to fit: a bad
 * argument. */
PANSHARP_API pansharp_result pansharp_fit(const pansharp* library, const pansharp_job* job,
                                          pansharp_gains* gains, pansharp_detail* detail, char* error,
                                          size_t error_size);

/** Fits the weight of each band in the simulated pan. Give the result to pansharp_fuse as the weights of a
 * job; the command does the same before it fuses. 'weights' has room for one number per multispectral band;
 * either may be null. An infrared weight in the job is kept, other weights in it are ignored. Where an
 * obstacle prevents the fit, the weights are the equal ones that pansharp_fuse takes without any. A
 * method that weighs no bands is a bad argument. */
PANSHARP_API pansharp_result pansharp_fit_weights(const pansharp* library, const pansharp_job* job,
                                                  double* weights, pansharp_weight_fit* fit, char* error,
                                                  size_t error_size);

/** How far the content of the multispectral image is displaced against its place under pan. */
typedef struct pansharp_shift {
    size_t struct_size; /**< to be set to sizeof(pansharp_shift) before the call */
    double right;       /**< in multispectral pixels; added to the image's offset_x it is taken back */
    double below;       /**< likewise of offset_y */
    double r_squared;   /**< how well the weighted bands make up pan then, 1 at best */
    double spread;    /**< median distance of what windows of the images tell from this, in the same pixels */
    uint32_t windows; /**< that tell something alone */
    uint32_t is_found;  /**< 0 where nothing tells a shift; all others are 0 then */
    uint32_t is_agreed; /**< 1 where windows tell the same, so that it is worth to be taken back */
} pansharp_shift;

/** Measures how far the multispectral image is displaced, up to 2 of its pixels in each direction. Of the job
 * count the images with their places and gaps, and the bits. */
PANSHARP_API pansharp_result pansharp_measure_shift(const pansharp* library, const pansharp_job* job,
                                                    pansharp_shift* shift, char* error, size_t error_size);

/** Fuses, and returns when all of the output is written or something went wrong. */
PANSHARP_API pansharp_result pansharp_fuse(const pansharp* library, const pansharp_job* job, char* error,
                                           size_t error_size);

/** Brings the multispectral image onto the grid of pan, and fuses nothing: what fusing adds detail to. Of the
 * job count the size of pan, which has no samples here, the multispectral image with its gaps and place,
 * bits, output and its bands, mask, threads and progress, and the sampling: cubic unless it says bilinear. */
PANSHARP_API pansharp_result pansharp_upsample(const pansharp* library, const pansharp_job* job, char* error,
                                               size_t error_size);

/** How good a band is. */
typedef struct pansharp_band_quality {
    double bias;                /**< mean of the image - mean of the reference */
    double rmse;                /**< root of the mean squared error */
    double psnr;                /**< dB, of the largest reference sample; infinite without an error */
    double q;                   /**< universal image quality index, 1 at best */
    double spatial_correlation; /**< of the details of both, 1 at best */
} pansharp_band_quality;

/** An image, a reference with the same pixels and bands, and what the one is worth by the other. The
 * definitions are those of the command's "assess". */
typedef struct pansharp_assessment {
    size_t struct_size;           /**< to be set to sizeof(pansharp_assessment) */
    uint32_t bits_per_sample;     /**< 8 or 16, in both */
    pansharp_image image;         /**< to be judged; it has no place */
    pansharp_image reference;     /**< the truth */
    pansharp_gaps image_gaps;     /**< which pixels do not count; without rules of a collar */
    pansharp_gaps reference_gaps; /**< likewise */
    double ratio;                 /**< a coarse pixel's width over a fine one's, for ERGAS; 0: no ERGAS */
    pansharp_band_quality* bands; /**< room for one per band; may be null */
    uint64_t pixels;              /**< found: how many were compared */
    double q;                     /**< found: mean of the bands */
    double sam;                   /**< found: spectral angle in degrees */
    double ergas;                 /**< found; not a number without a ratio */
} pansharp_assessment;

/** Judges an image by a reference. */
PANSHARP_API pansharp_result pansharp_assess(pansharp_assessment* assessment, char* error, size_t error_size);

/** How an image agrees with the pair that it was made of. */
typedef struct pansharp_pair_quality {
    /** Set before the call: room for one per multispectral band; may be null. These and the next four compare
     * the image, degraded by the blur of the bands, with the multispectral image. */
    pansharp_band_quality* bands;
    uint64_t coarse_pixels; /**< multispectral ones that were compared */
    double q;               /**< mean of the bands */
    double sam;             /**< spectral angle in degrees */
    double ergas;           /**< 0 at best */
    uint64_t pixels;        /**< of pan that were compared */
    double d_lambda;        /**< how far the bands moved against each other, 0 at best */
    double d_s;             /**< how far they moved against pan, 0 at best */
    double qnr;             /**< of both, 1 at best */
    double d_lambda_k;      /**< as d_lambda, of the degraded image */
    double hqnr;            /**< of d_lambda_k and d_s, 1 at best */
} pansharp_pair_quality;

/** An image that was made of a pair. What the command's "assess" does without a reference. */
typedef struct pansharp_pair_assessment {
    size_t struct_size;              /**< to be set to sizeof(pansharp_pair_assessment) */
    pansharp_image image;            /**< the fused image: pan's pixels and the multispectral bands */
    pansharp_gaps image_gaps;        /**< which pixels do not count; without rules of a collar */
    const double* transfers;         /**< modulation transfer at the Nyquist frequency of the multispectral
                                        pixels, of each band or one for all; left out: 0.3 */
    uint32_t transfer_count;         /**< numbers at transfers */
    double pan_transfer;             /**< that of pan at the same frequency; 0: 0.15 */
    double ratio;                    /**< a coarse pixel's width over a fine one's; 0: by the job */
    pansharp_pair_quality fused;     /**< found: of the image */
    pansharp_pair_quality upsampled; /**< found: of the multispectral image, upsampled bilinearly */
} pansharp_pair_assessment;

/** Judges an image by the pair that it was made of, where no truth is known. Of the job count pan, the
 * multispectral image with its place, their gaps, bits per sample and threads. */
PANSHARP_API pansharp_result pansharp_assess_pair(const pansharp* library, const pansharp_job* job,
                                                  pansharp_pair_assessment* assessment, char* error,
                                                  size_t error_size);

/** A pair one scale down, where the truth is known: pan brought onto the pixels of the multispectral image,
 * which is the truth, and that image made coarser by the ratio of the pair. Of a large pair some windows. */
typedef struct pansharp_reduction {
    size_t struct_size;           /**< to be set to sizeof(pansharp_reduction) */
    const double* transfers;      /**< as in pansharp_pair_assessment, and the next two */
    uint32_t transfer_count;      /**< numbers at transfers */
    double pan_transfer;          /**< that of pan */
    void* pan;                    /**< samples of the reduced pan. These six are packed, bands interleaved by
                                     pixel, and all null in a call that asks for the sizes */
    void* multispectral;          /**< samples of the reduced multispectral image */
    void* truth;                  /**< samples of the truth */
    uint8_t* pan_valid;           /**< a byte per pixel, 255 with data, 0 without */
    uint8_t* multispectral_valid; /**< likewise */
    uint8_t* truth_valid;         /**< likewise: 255 where results are to be compared */
    uint32_t columns;        /**< found without, to be kept with room for samples: of pan and the truth */
    uint32_t rows;           /**< likewise */
    uint32_t coarse_columns; /**< likewise of the multispectral image */
    uint32_t coarse_rows;    /**< likewise */
    double ratio_x;          /**< found: width of its pixels in those of the reduced pan */
    double ratio_y;          /**< found: their height */
} pansharp_reduction;

/** Makes what the command's "compare" fuses by each method. Of the job count pan, the multispectral image
 * with its place, their gaps, and bits per sample. */
PANSHARP_API pansharp_result pansharp_reduce(const pansharp* library, const pansharp_job* job,
                                             pansharp_reduction* reduction, char* error, size_t error_size);

/** Which image rows are asked of. */
typedef enum pansharp_source {
    PANSHARP_PAN = 0,           /**< the sharp one */
    PANSHARP_MULTISPECTRAL = 1, /**< the coarse one */
    PANSHARP_INFRARED = 2       /**< the additional one */
} pansharp_source;

/** Pixels of an image, by its own columns and rows, counted from 0. */
typedef struct pansharp_window {
    uint32_t column;  /**< the first */
    uint32_t row;     /**< the first */
    uint32_t columns; /**< how many */
    uint32_t rows;    /**< how many */
} pansharp_window;

/** Asked for pixels of an image, of which 'image' is a pansharp_source: packed, bands interleaved by pixel,
 * at 'samples', which has room for just these. An answer other than 0 ends the work. */
typedef int (*pansharp_read)(uint32_t image, const pansharp_window* part, void* samples, void* data);

/** Given a fused row, counted as pan's rows are: the window's columns of the output bands, interleaved by
 * pixel. 'samples' is good during the call. An answer other than 0 ends the work. */
typedef int (*pansharp_write)(uint32_t row, const void* samples, void* data);

/** Where rows come from and go to. All functions are called on the thread that called pansharp_fuse_rows. */
typedef struct pansharp_rows {
    size_t struct_size;     /**< sizeof(pansharp_rows) */
    pansharp_read read;     /**< gives pixels; some are asked for more than once */
    pansharp_write write;   /**< takes fused rows, from the top */
    void* data;             /**< handed to both */
    pansharp_window window; /**< of pan; all 0: the whole */
} pansharp_rows;

/** Fuses a window of images that are not in memory: their pixels are asked for as they are needed. The job is
 * as for pansharp_fuse, but its images have no samples and no strides, and it has no output and uses one
 * thread. A method that compares pan with its low-pass needs transfer, gains and low_pass_mean, as
 * pansharp_fit finds them: no window tells them. Any window has the pixels that the whole has there. */
PANSHARP_API pansharp_result pansharp_fuse_rows(const pansharp* library, const pansharp_job* job,
                                                const pansharp_rows* rows, char* error, size_t error_size);

#ifdef __cplusplus
}
#endif

#endif
