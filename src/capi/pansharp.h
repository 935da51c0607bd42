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
 * Several threads may use one opened library at once. Nothing here prints or ends the program.
 * Errors are kept only in the buffer of the call that failed. */
#ifndef PANSHARP_H
#define PANSHARP_H

#include <stddef.h>
#include <stdint.h>

/** Marks the functions that the library exports. */
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

/** The outcome of a call. */
typedef enum pansharp_result {
    PANSHARP_OK = 0, /**< success: all of the output is written */
    PANSHARP_BAD_ARGUMENT =
        1, /**< an argument is missing, out of range or contradicts another; nothing was written */
    PANSHARP_FAILED = 2,   /**< parts of the output may have been written */
    PANSHARP_CANCELLED = 3 /**< the progress function cancelled; parts may have been written */
} pansharp_result;

/** The loaded plug-in. */
typedef struct pansharp pansharp;

/** An image to read. Samples are unsigned, in the byte order of the machine, and may lie at any address.
 * Strides are in bytes and may be negative. If all three are 0, samples are packed, with bands interleaved by
 * pixel.
 */
typedef struct pansharp_image {
    const void* samples;    /**< band 0 of the upper left pixel; the caller's, read only during the call */
    uint32_t columns;       /**< pixels across, 1 or more */
    uint32_t rows;          /**< pixels down, 1 or more */
    uint32_t bands;         /**< samples per pixel, 1 or more */
    ptrdiff_t row_stride;   /**< bytes from a pixel to the one below */
    ptrdiff_t pixel_stride; /**< bytes from a pixel to the one to its right */
    ptrdiff_t band_stride;  /**< bytes from a sample to the next band's of the same pixel */
    /** The position under pan, in this member and the next three; all 0 in the image that is pan. Width of a
     * pixel in pan pixels, at least 1 and below 10000. 0: both images show the same ground, so the width is
     * pan's number of columns divided by this image's. */
    double pixel_width;
    double pixel_height; /**< height of a pixel in pan pixels; 0: from the rows */
    /** Where the upper left corner of pan lies on this image, in its own pixels: to the right of its own
     * corner. */
    double offset_x;
    double offset_y; /**< the same downward from its own corner */
} pansharp_image;

/** Where the fused image goes: pan's columns and rows, one band for each output band. Strides as in
 * pansharp_image. No part of it may lie between the first and the last byte of an image that is read. */
typedef struct pansharp_output {
    void* samples;          /**< band 0 of the upper left pixel; the caller's, written during the call */
    ptrdiff_t row_stride;   /**< bytes from a pixel to the one below */
    ptrdiff_t pixel_stride; /**< bytes from a pixel to the one to its right */
    ptrdiff_t band_stride;  /**< bytes from a sample to the next band's of the same pixel */
} pansharp_output;

/** Rules by which pixels of an image have no data, in addition to a mask; combine them with "|". */
typedef enum pansharp_gap_rule {
    PANSHARP_NO_DATA_VALUE = 1, /**< a pixel with the sample no_data in any band */
    /** The collar: pixels with zeros in all bands that are connected to the edge, if at least a twentieth of
     * the edge has such pixels. Ignored when there is a mask or when no_data is 0. An image without any data
     * is refused. Meant for whole scenes, not for tiles; the command uses it by default. */
    PANSHARP_COLLAR = 2
} pansharp_gap_rule;

/** Which pixels of an image have no data. All 0: every pixel has data. A pixel without data in one band
 * has none in all bands. Such pixels take no part in anything: pixels beside them are interpolated from the
 * others. */
typedef struct pansharp_gaps {
    const uint8_t* valid;   /**< the mask, a byte per pixel of the image, 0 for no data; may be null */
    ptrdiff_t row_stride;   /**< bytes from one of them to that of the pixel below; both strides 0: packed */
    ptrdiff_t pixel_stride; /**< bytes to that of the pixel to the right */
    uint32_t rules;         /**< values of pansharp_gap_rule, combined */
    uint32_t no_data;       /**< with PANSHARP_NO_DATA_VALUE: the sample that means no data, in any band */
} pansharp_gaps;

/** Where to write the mask of the fused image: a pixel has data if pan and every other image have data
 * there. The other pixels of the output get the no_data of the multispectral image, else that of pan, else
 * that of the infrared image, else 0. A sample with data that has this value becomes the next one. */
typedef struct pansharp_mask {
    uint8_t* valid;         /**< a byte per pixel of pan, 255 with data, 0 without; the caller's, may be
                                 null */
    ptrdiff_t row_stride;   /**< bytes to the byte of the pixel below; both strides 0: packed */
    ptrdiff_t pixel_stride; /**< bytes to the byte of the pixel to the right */
} pansharp_mask;

/** How the coarse images are interpolated at the pixels of pan. */
typedef enum pansharp_resampling {
    PANSHARP_RESAMPLING_DEFAULT = 0, /**< cubic if the method compares pan with its low-pass, else bilinear */
    PANSHARP_BILINEAR = 1,           /**< from the nearest 2 x 2 pixels */
    PANSHARP_CUBIC = 2               /**< cubic convolution of the nearest 4 x 4 pixels with a = -0.5 */
} pansharp_resampling;

/** The low_pass_mean of images in which no pixel gives one. */
#define PANSHARP_NO_MEAN (-1.0)

/** The gains of a band: how much of pan's detail is added to it. Each number is 0 or more. */
typedef struct pansharp_gains {
    double gain;       /**< a share of the detail */
    double ratio_gain; /**< a share of the detail times the band's ratio to pan's low-pass */
} pansharp_gains;

/** What pansharp_fit found. */
typedef struct pansharp_detail {
    double transfer;      /**< modulation transfer, for the member of the job */
    double low_pass_mean; /**< for the member of the job; PANSHARP_NO_MEAN if no pixel gives one */
    /** How well a weighted sum of the bands matches pan's low-pass of this blur, as R squared; 1 is perfect.
     * Below 0.5, transfer is the default 0.3. 0 if the job gave the transfer. */
    double blur_r_squared;
    uint64_t samples; /**< pixels one scale down that the gains were fitted to, or are judged by */
    /** ERGAS of the fused image one scale down, where the truth is known. Both errors are 0 if there are
     * too few samples. */
    double error;
    double plain_error; /**< ERGAS of the upsampled bands, without fusing */
} pansharp_detail;

/** How a job was done: what was given, fitted and taken by default. */
typedef struct pansharp_used {
    size_t struct_size;     /**< to be set to sizeof(pansharp_used) before the call */
    const char* method;     /**< owned by the library until it is closed */
    uint32_t resampling;    /**< PANSHARP_BILINEAR or PANSHARP_CUBIC */
    uint32_t weight_count;  /**< bands that the method weighs; 0 if it weighs none */
    double* weights;        /**< set before the call: room for one per multispectral band; may be null */
    double infrared_weight; /**< 0 without an infrared image */
    pansharp_gains* gains;  /**< set before the call: room for one per multispectral band; may be null */
    pansharp_detail detail; /**< of a method that compares pan with its low-pass; else all 0 */
    uint64_t collars[3];    /**< pixels of the collars of pan, multispectral and infrared image */
    uint64_t gaps;          /**< pixels of the output without data */
} pansharp_used;

/** Progress: called on the thread that called pansharp_fuse, with the number of rows done, in ascending
 * order up to 'rows'. A result other than 0 cancels. */
typedef int (*pansharp_progress)(uint32_t rows_done, uint32_t rows, void* data);

/** What to fuse and how. pansharp_job_init sets all members to 0, which means "left out". The library
 * keeps no pointer to the job. */
typedef struct pansharp_job {
    size_t struct_size;           /**< set by pansharp_job_init */
    uint32_t bits_per_sample;     /**< 8 or 16, in all images */
    pansharp_image pan;           /**< 1 band */
    pansharp_image multispectral; /**< at least as many bands as the method needs */
    pansharp_image infrared;      /**< 1 band; may be left out */
    pansharp_output output;       /**< pan's columns and rows */
    /** Multispectral bands to write, counted from 1, in any order; null: all, in order. A method that fuses a
     * fixed number of bands fuses the bands in the order in which they are first named, and then the others.
     */
    const uint32_t* output_bands;
    uint32_t output_band_count; /**< numbers at output_bands */
    /** A keyword in any letter case. Null: the plug-in's recommended method, or its first if weights or an
     * infrared image are given. */
    const char* method;
    /** Weight of each multispectral band in the simulated pan. Null: equal weights, the infrared band
     * counted. */
    const double* weights;
    uint32_t weight_count;         /**< numbers at weights: one per multispectral band */
    const double* infrared_weight; /**< one number; required if an infrared image and weights are given */
    uint32_t threads;              /**< 0: one per processor */
    pansharp_progress progress;    /**< may be null */
    void* progress_data;           /**< passed to progress */
    uint32_t resampling;           /**< a pansharp_resampling */
    /* For a method that compares pan with its low-pass, which the library computes. What is left out is
     * fitted to all images of the job. For tiles of a scene, pass what pansharp_fit found in the whole scene.
     */
    uint32_t gain_count;         /**< numbers at gains: one per multispectral band */
    const pansharp_gains* gains; /**< of each multispectral band */
    /** Modulation transfer of the multispectral sensor at the Nyquist frequency of its pixels, 0.05 to 0.9;
     * 0: fitted. */
    double transfer;
    /** Mean of pan's low-pass in DN, above 0, or PANSHARP_NO_MEAN. 0: measured, even if nothing is fitted. */
    double low_pass_mean;
    pansharp_gaps pan_gaps;           /**< which pixels of pan have no data; all 0: none */
    pansharp_gaps multispectral_gaps; /**< the same; all three must be 0 for pansharp_fuse_rows */
    pansharp_gaps infrared_gaps;      /**< the same */
    pansharp_mask output_mask;        /**< mask of the output; may be left out */
    /** Bits that 16-bit samples use, 9 to 16; 0: all. Samples at the largest such value count as
     * saturated: no fit uses them. No output sample is larger. */
    uint32_t bits_used;
    pansharp_used* used; /**< record of how the job was done; the caller's, may be null */
} pansharp_job;

/** What pansharp_fit_weights finds in addition to the weights. */
typedef struct pansharp_weight_fit {
    size_t struct_size;     /**< set to sizeof(pansharp_weight_fit) before the call */
    double infrared_weight; /**< 0 without an infrared image */
    /** R squared of the weighted sum of the bands against pan: 1 is perfect; below 0.8 the bands do not
     * represent pan well. */
    double r_squared;
    uint64_t samples;   /**< multispectral pixels that the weights were fitted to */
    char obstacle[256]; /**< why no weights can be fitted; empty if they can */
} pansharp_weight_fit;

/* Every function that can fail takes a buffer for the reason, in UTF-8. The reason is cut to the size and
 * always ends with a zero byte; after a success it is empty. The buffer may be null if its size is 0. */

/** Loads the plug-in from a file, or from where it is installed if the path is null or empty. Returns null on
 * failure. Give the result back with pansharp_close.
 */
PANSHARP_API pansharp* pansharp_open(const char* plugin_path, char* error, size_t error_size);

/** Unloads the plug-in. None of its calls may be running. Null is accepted. */
PANSHARP_API void pansharp_close(pansharp* library);

/** Version of this library, such as "1.2.3". */
PANSHARP_API const char* pansharp_version(void);

/** Version of the plug-in; "" for null. The text lives until the library is closed. */
PANSHARP_API const char* pansharp_plugin_version(const pansharp* library);

/** Path of the file that the plug-in was loaded from; "" for null. The text lives until the library is
 * closed. */
PANSHARP_API const char* pansharp_plugin_path(const pansharp* library);

/** Keyword of the plug-in's method at a position, counted from 0; null past the last. The text lives until
 * the library is closed. */
PANSHARP_API const char* pansharp_method(const pansharp* library, uint32_t position);

/** The plug-in's description of a method. The texts live until the library is closed. */
typedef struct pansharp_method_info {
    const char* keyword;    /**< such as "KOVA" */
    const char* summary;    /**< one line */
    const char* formula;    /**< of one output sample */
    const char* advice;     /**< when to use it */
    uint32_t minimum_bands; /**< multispectral bands that it needs */
    uint32_t fused_bands;   /**< number of bands that are fused: the first ones; 0: all */
    uint32_t weighs_bands;  /**< 1 if pansharp_fit_weights applies to it */
    uint32_t uses_low_pass; /**< 1 if pansharp_fit applies to it */
    uint32_t recommended;   /**< 1 for the method of a job that names none */
} pansharp_method_info;

/** Describes the plug-in's method at a position, counted from 0. 'size' is the caller's
 * sizeof(pansharp_method_info); no more is written. Returns 1, or 0 past the last and for null. */
PANSHARP_API int pansharp_describe_method(const pansharp* library, uint32_t position,
                                          pansharp_method_info* info, size_t size);

/** Sets all members of a job to 0. 'size' is the caller's sizeof(pansharp_job). Null is accepted. */
PANSHARP_API void pansharp_job_init(pansharp_job* job, size_t size);

/** Fits the transfer and gains that the job leaves open, as pansharp_fuse would. 'gains' has room for one
 * entry per multispectral band, and 'detail' gets the rest; either may be null. The output, progress and
 * threads of the job are ignored. A method that does not compare pan with its low-pass is a bad argument. */
PANSHARP_API pansharp_result pansharp_fit(const pansharp* library, const pansharp_job* job,
                                          pansharp_gains* gains, pansharp_detail* detail, char* error,
                                          size_t error_size);

/** Fits the weight of each band in the simulated pan. Pass the result to pansharp_fuse as the weights of a
 * job; the command does the same before it fuses. 'weights' has room for one number per multispectral band;
 * 'weights' or 'fit' may be null. An infrared weight in the job is kept; other weights in it are ignored. If
 * an obstacle prevents the fit, the weights are the equal ones that pansharp_fuse takes by default. A method
 * that weighs no bands is a bad argument. */
PANSHARP_API pansharp_result pansharp_fit_weights(const pansharp* library, const pansharp_job* job,
                                                  double* weights, pansharp_weight_fit* fit, char* error,
                                                  size_t error_size);

/** How far the content of the multispectral image is displaced against its position under pan. */
typedef struct pansharp_shift {
    size_t struct_size; /**< set to sizeof(pansharp_shift) before the call */
    double right;       /**< in multispectral pixels; add it to the image's offset_x to correct it */
    double below;       /**< the same downward, for offset_y */
    double r_squared;   /**< R squared of the weighted bands against pan after the correction; 1 is perfect */
    double spread; /**< median distance of the shifts of single windows from this one, in the same pixels */
    uint32_t windows;   /**< number of windows that show a shift on their own */
    uint32_t is_found;  /**< 0 if no shift can be measured: all other members are then 0 */
    uint32_t is_agreed; /**< 1 if the windows agree, so that a correction is worthwhile */
} pansharp_shift;

/** Measures how far the multispectral image is displaced, up to 2 of its pixels in each direction. Uses
 * the job's images with their positions and gaps, and its bits. */
PANSHARP_API pansharp_result pansharp_measure_shift(const pansharp* library, const pansharp_job* job,
                                                    pansharp_shift* shift, char* error, size_t error_size);

/** Fuses. Returns when all of the output is written or something has failed. */
PANSHARP_API pansharp_result pansharp_fuse(const pansharp* library, const pansharp_job* job, char* error,
                                           size_t error_size);

/** Upsamples the multispectral image to the grid of pan, without fusing. Uses of the job: the size of pan,
 * which needs no samples; the multispectral image with its position and gaps; bits, output, output bands,
 * mask, threads and progress; and the resampling, where the default means cubic. */
PANSHARP_API pansharp_result pansharp_upsample(const pansharp* library, const pansharp_job* job, char* error,
                                               size_t error_size);

/** The quality of a band. */
typedef struct pansharp_band_quality {
    double bias;                /**< mean of the image minus mean of the reference, in DN */
    double rmse;                /**< root of the mean squared error, in DN */
    double psnr;                /**< dB, against the largest reference sample; infinite without an error */
    double q;                   /**< universal image quality index (Wang and Bovik 2002), 1 at best */
    double spatial_correlation; /**< correlation of the details of both, 1 at best */
} pansharp_band_quality;

/** An image, a reference with the same pixels and bands, and the quality of the image against it. The
 * definitions are those of the command's "assess". */
typedef struct pansharp_assessment {
    size_t struct_size;           /**< set to sizeof(pansharp_assessment) before the call */
    uint32_t bits_per_sample;     /**< 8 or 16, in both images */
    pansharp_image image;         /**< the image to judge; its position must be 0 */
    pansharp_image reference;     /**< the truth; its position must be 0 */
    pansharp_gaps image_gaps;     /**< which of its pixels do not count; PANSHARP_COLLAR is refused */
    pansharp_gaps reference_gaps; /**< the same for the reference */
    double ratio;                 /**< width of a coarse pixel over that of a fine one, for ERGAS; 0: no
                                       ERGAS */
    pansharp_band_quality* bands; /**< set before the call: room for one per band; may be null */
    uint64_t pixels;              /**< found: number of pixels compared */
    double q;                     /**< found: mean of the bands, 1 at best */
    double sam;                   /**< found: mean spectral angle in degrees, 0 at best */
    double ergas;                 /**< found, 0 at best; NaN without a ratio */
} pansharp_assessment;

/** Compares an image with a reference. */
PANSHARP_API pansharp_result pansharp_assess(pansharp_assessment* assessment, char* error, size_t error_size);

/** How well an image agrees with the pair that it was made from. */
typedef struct pansharp_pair_quality {
    /** Set before the call: room for one per multispectral band; may be null. This and the next four members
     * compare the image, degraded by the blur of the bands, with the multispectral image. */
    pansharp_band_quality* bands;
    uint64_t coarse_pixels; /**< multispectral pixels that were compared */
    double q;               /**< mean of the bands */
    double sam;             /**< mean spectral angle in degrees */
    double ergas;           /**< 0 at best */
    uint64_t pixels;        /**< pan pixels that were compared */
    double d_lambda;        /**< how much the bands have changed relative to each other, 0 at best */
    double d_s;             /**< how much they have changed relative to pan, 0 at best */
    double qnr;             /**< from both, 1 at best */
    double d_lambda_k;      /**< like d_lambda, for the degraded image */
    double hqnr;            /**< from d_lambda_k and d_s, 1 at best */
} pansharp_pair_quality;

/** An image that was made from a pair, and its quality as the command's "assess" finds it without a
 * reference. */
typedef struct pansharp_pair_assessment {
    size_t struct_size;       /**< set to sizeof(pansharp_pair_assessment) before the call */
    pansharp_image image;     /**< the fused image: pan's pixels and the multispectral bands */
    pansharp_gaps image_gaps; /**< which of its pixels do not count; PANSHARP_COLLAR is refused */
    /** Modulation transfer of the bands at the Nyquist frequency of the multispectral pixels: one per band or
     * one for all; null: 0.3. */
    const double* transfers;
    uint32_t transfer_count;         /**< numbers at transfers */
    double pan_transfer;             /**< that of pan at the same frequency; 0 means 0.15 */
    double ratio;                    /**< width of a coarse pixel over that of a fine one; 0: from the job */
    pansharp_pair_quality fused;     /**< found: for the image */
    pansharp_pair_quality upsampled; /**< found: for the multispectral image, upsampled bilinearly */
} pansharp_pair_assessment;

/** Judges an image by the pair that it was made from, without a known truth. Uses the job's pan and
 * multispectral image with position and gaps, bits per sample and threads. */
PANSHARP_API pansharp_result pansharp_assess_pair(const pansharp* library, const pansharp_job* job,
                                                  pansharp_pair_assessment* assessment, char* error,
                                                  size_t error_size);

/** A pair one scale down, where the truth is known. Pan is degraded to the pixels of the multispectral
 * image, which is the truth; the multispectral image is degraded by the ratio of the pair. Of a large pair
 * only some windows are used. */
typedef struct pansharp_reduction {
    size_t struct_size;      /**< set to sizeof(pansharp_reduction) before the call */
    const double* transfers; /**< as in pansharp_pair_assessment, like the next two */
    uint32_t transfer_count; /**< numbers at transfers */
    double pan_transfer;     /**< that of pan */
    /** Samples of the reduced pan. This and the next five are the caller's, packed, bands interleaved by
     * pixel; all six are null in a call that asks for the sizes. */
    void* pan;
    void* multispectral;          /**< samples of the reduced multispectral image */
    void* truth;                  /**< samples of the truth */
    uint8_t* pan_valid;           /**< a byte per pixel, 255 with data, 0 without */
    uint8_t* multispectral_valid; /**< the same */
    uint8_t* truth_valid;         /**< the same: 255 where results are to be compared */
    uint32_t
        columns;   /**< of pan and the truth: written by a call whose six are null, else passed unchanged */
    uint32_t rows; /**< the same */
    uint32_t coarse_columns; /**< the same for the multispectral image */
    uint32_t coarse_rows;    /**< the same */
    double ratio_x;          /**< found: width of a reduced multispectral pixel in reduced pan pixels */
    double ratio_y;          /**< found: its height */
} pansharp_reduction;

/** Computes the pair that the command's "compare" fuses by each method. Uses the job's pan and
 * multispectral image with position and gaps, and bits per sample. */
PANSHARP_API pansharp_result pansharp_reduce(const pansharp* library, const pansharp_job* job,
                                             pansharp_reduction* reduction, char* error, size_t error_size);

/** The image that rows are read from. */
typedef enum pansharp_source {
    PANSHARP_PAN = 0,           /**< the panchromatic image */
    PANSHARP_MULTISPECTRAL = 1, /**< the multispectral image */
    PANSHARP_INFRARED = 2       /**< the infrared image */
} pansharp_source;

/** A window of an image, by its own columns and rows, counted from 0. */
typedef struct pansharp_window {
    uint32_t column;  /**< first column */
    uint32_t row;     /**< first row */
    uint32_t columns; /**< number of columns */
    uint32_t rows;    /**< number of rows */
} pansharp_window;

/** Called to read a window of an image, a pansharp_source. It writes packed samples, bands interleaved by
 * pixel, to 'samples', which has exactly that size. A result other than 0 ends the work. */
typedef int (*pansharp_read)(uint32_t image, const pansharp_window* part, void* samples, void* data);

/** Called with a fused row: the window's columns, output bands interleaved by pixel. 'row' counts rows of
 * pan. 'samples' is valid only during the call. A result other than 0 ends the work. */
typedef int (*pansharp_write)(uint32_t row, const void* samples, void* data);

/** Where rows come from and go to. All functions are called on the thread that called pansharp_fuse_rows. */
typedef struct pansharp_rows {
    size_t struct_size;     /**< set to sizeof(pansharp_rows) before the call */
    pansharp_read read;     /**< reads pixels; some are read more than once */
    pansharp_write write;   /**< takes fused rows, from the top */
    void* data;             /**< passed to both */
    pansharp_window window; /**< of pan; all 0 means all of pan */
} pansharp_rows;

/** Fuses a window of images that are not in memory: their pixels are read as they are needed. The job is
 * as for pansharp_fuse, but its images have no samples and no strides, it has no output, and one thread is
 * used. A method that compares pan with its low-pass needs transfer, gains and low_pass_mean, as pansharp_fit
 * finds them in the whole scene. Pixels do not depend on the window. */
PANSHARP_API pansharp_result pansharp_fuse_rows(const pansharp* library, const pansharp_job* job,
                                                const pansharp_rows* rows, char* error, size_t error_size);

#ifdef __cplusplus
}
#endif

#endif
