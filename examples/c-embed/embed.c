/* Fuses two small arrays from C and prints the rows.
 *
 *     c_embed [PATH OF Pansharp.process] */

#include "pansharp.h"

#include <stdio.h>

enum { columns = 8, rows = 8, bands = 2, ratio = 2 };

static int show_progress(uint32_t rows_done, uint32_t all_rows, void* data) {
    fprintf((FILE*)data, "%u of %u rows\n", (unsigned)rows_done, (unsigned)all_rows);
    return 0; /* anything else cancels */
}

int main(int argc, char** argv) {
    /* The sharp image, and a coarse one with half as many columns and rows. Its bands follow each other. */
    uint8_t pan[rows][columns];
    uint8_t multispectral[bands][rows / ratio][columns / ratio];
    uint8_t fused[rows][columns][bands];
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column)
            pan[row][column] = (uint8_t)(100 + 10 * column + row);
    for (int row = 0; row < rows / ratio; ++row)
        for (int column = 0; column < columns / ratio; ++column) {
            multispectral[0][row][column] = 50;
            multispectral[1][row][column] = 150;
        }

    char error[1024];
    pansharp* library = pansharp_open(argc > 1 ? argv[1] : NULL, error, sizeof error);
    if (!library) {
        fprintf(stderr, "%s\n", error);
        return 1;
    }
    fprintf(stderr, "%s, version %s\n", pansharp_plugin_path(library), pansharp_plugin_version(library));

    const double weights[bands] = {0.75, 0.25};
    pansharp_job job;
    pansharp_job_init(&job, sizeof job);
    job.bits_per_sample = 8;
    job.pan.samples = pan;
    job.pan.columns = columns;
    job.pan.rows = rows;
    job.pan.bands = 1; /* packed: strides of 0 suffice */
    job.multispectral.samples = multispectral;
    job.multispectral.columns = columns / ratio;
    job.multispectral.rows = rows / ratio;
    job.multispectral.bands = bands;
    job.multispectral.row_stride = sizeof multispectral[0][0];
    job.multispectral.pixel_stride = sizeof multispectral[0][0][0];
    job.multispectral.band_stride = sizeof multispectral[0];
    job.output.samples = fused;
    job.weights = weights;
    job.weight_count = bands;
    job.progress = show_progress;
    job.progress_data = stderr;

    const pansharp_result result = pansharp_fuse(library, &job, error, sizeof error);
    if (result != PANSHARP_OK) fprintf(stderr, "%s\n", error);
    for (int row = 0; row < rows && result == PANSHARP_OK; ++row) {
        printf("row %d:", row);
        for (int column = 0; column < columns; ++column)
            printf(" %d %d%s", fused[row][column][0], fused[row][column][1],
                   column + 1 < columns ? " " : "\n");
    }
    pansharp_close(library);
    return result == PANSHARP_OK ? 0 : 1;
}
