/* Fuses files of plain 8-bit samples (bands interleaved by pixel, up to 2 GiB) without holding them in
 * memory, by the method KOVA with equal weights:
 *
 *     c_rows PAN COLUMNS ROWS MULTISPECTRAL COLUMNS ROWS BANDS OUTPUT [PATH OF Pansharp.process] */

#include "pansharp.h"

#include <stdio.h>
#include <stdlib.h>

struct files {
    FILE* images[2]; /* pan and multispectral, indexed by pansharp_source */
    uint32_t columns[2], bands[2];
    FILE* output;
    uint32_t output_samples; /* of a row */
    unsigned long long sum;
};

/* Reads the pixels that the library asks for. */
static int read_part(uint32_t image, const pansharp_window* part, void* samples, void* data) {
    const struct files* files = data;
    const size_t pixel = files->bands[image], wanted = part->columns * pixel;
    unsigned char* row = samples;
    for (uint32_t r = 0; r < part->rows; ++r, row += wanted) {
        const size_t at = ((size_t)(part->row + r) * files->columns[image] + part->column) * pixel;
        if (fseek(files->images[image], (long)at, SEEK_SET) != 0 ||
            fread(row, 1, wanted, files->images[image]) != wanted)
            return 1; /* ends the work */
    }
    return 0;
}

/* Takes a fused row. */
static int write_row(uint32_t row, const void* samples, void* data) {
    struct files* files = data;
    (void)row; /* rows come from the top */
    for (uint32_t i = 0; i < files->output_samples; ++i)
        files->sum += ((const unsigned char*)samples)[i];
    return fwrite(samples, 1, files->output_samples, files->output) != files->output_samples;
}

static uint32_t number(const char* text) { return (uint32_t)strtoul(text, NULL, 10); }

int main(int argc, char** argv) {
    if (argc < 9)
        return fprintf(stderr, "c_rows PAN COLUMNS ROWS MULTISPECTRAL COLUMNS ROWS BANDS OUTPUT [PLUGIN]\n"),
               2;
    struct files files = {{fopen(argv[1], "rb"), fopen(argv[4], "rb")},
                          {number(argv[2]), number(argv[5])},
                          {1, number(argv[7])},
                          fopen(argv[8], "wb"),
                          number(argv[2]) * number(argv[7]),
                          0};
    char error[1024] = "a file cannot be opened";
    pansharp* library = NULL;
    pansharp_result result = PANSHARP_FAILED;
    if (files.images[0] && files.images[1] && files.output)
        library = pansharp_open(argc > 9 ? argv[9] : NULL, error, sizeof error);
    if (library) {
        pansharp_job job;
        pansharp_job_init(&job, sizeof job);
        job.bits_per_sample = 8;
        job.method = "KOVA";
        job.pan.columns = files.columns[0], job.pan.rows = number(argv[3]), job.pan.bands = 1;
        job.multispectral.columns = files.columns[1], job.multispectral.rows = number(argv[6]);
        job.multispectral.bands = files.bands[1];
        pansharp_rows rows = {sizeof rows, read_part, write_row, &files, {0, 0, 0, 0}}; /* all of pan */
        result = pansharp_fuse_rows(library, &job, &rows, error, sizeof error);
    }
    if (files.output && fclose(files.output) != 0 && result == PANSHARP_OK) {
        result = PANSHARP_FAILED;
        snprintf(error, sizeof error, "the output cannot be written");
    }
    if (files.images[0]) fclose(files.images[0]);
    if (files.images[1]) fclose(files.images[1]);
    if (result == PANSHARP_OK)
        printf("%s columns, %s rows, %s bands, sum %llu\n", argv[2], argv[3], argv[7], files.sum);
    else
        fprintf(stderr, "%s\n", error);
    pansharp_close(library);
    return result == PANSHARP_OK ? 0 : 1;
}
