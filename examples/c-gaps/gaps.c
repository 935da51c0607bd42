/* Fuses two small arrays in which some pixels have no data: pan has a mask, the coarse image a value for no
 * data. A mask tells which pixels of the result have data.
 *
 *     c_gaps [PATH OF Pansharp.process] */

#include "pansharp.h"

#include <stdio.h>

enum { columns = 8, rows = 8, bands = 2, ratio = 2 };

static uint8_t pan[rows][columns], pan_valid[rows][columns];
static uint8_t multispectral[rows / ratio][columns / ratio][bands];
static uint8_t fused[rows][columns][bands], fused_valid[rows][columns];

static void make_images(void) {
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column) {
            pan[row][column] = (uint8_t)(100 + 10 * column + row);
            pan_valid[row][column] = column < columns - 1; /* any number but 0 means data */
        }
    for (int row = 0; row < rows / ratio; ++row)
        for (int column = 0; column < columns / ratio; ++column) {
            const int lacks = row < 2 && column < 2;
            multispectral[row][column][0] = lacks ? 0 : 50;
            multispectral[row][column][1] = lacks ? 0 : 150;
        }
}

int main(int argc, char** argv) {
    char error[1024];
    pansharp* library = pansharp_open(argc > 1 ? argv[1] : NULL, error, sizeof error);
    if (!library) {
        fprintf(stderr, "%s\n", error);
        return 1;
    }
    make_images();

    pansharp_job job;
    pansharp_used used = {.struct_size = sizeof used};
    pansharp_job_init(&job, sizeof job);
    job.bits_per_sample = 8;
    job.method = pansharp_method(library, 0);
    job.pan.samples = pan;
    job.pan.columns = columns;
    job.pan.rows = rows;
    job.pan.bands = 1;
    job.multispectral.samples = multispectral;
    job.multispectral.columns = columns / ratio;
    job.multispectral.rows = rows / ratio;
    job.multispectral.bands = bands;
    job.output.samples = fused;
    job.pan_gaps.valid = &pan_valid[0][0];
    job.multispectral_gaps.rules = PANSHARP_NO_DATA_VALUE;
    job.multispectral_gaps.no_data = 0;
    job.output_mask.valid = &fused_valid[0][0];
    job.used = &used;

    const pansharp_result result = pansharp_fuse(library, &job, error, sizeof error);
    if (result == PANSHARP_OK)
        printf("%u of %d pixels have no data\n", (unsigned)used.gaps, rows * columns);
    else
        fprintf(stderr, "%s\n", error);
    for (int row = 0; row < rows && result == PANSHARP_OK; ++row) {
        printf("row %d:", row);
        for (int column = 0; column < columns; ++column)
            if (fused_valid[row][column])
                printf("  %d/%d", fused[row][column][0], fused[row][column][1]);
            else
                printf("  -"); /* the samples are the value for no data, 0 */
        printf("\n");
    }
    pansharp_close(library);
    return result == PANSHARP_OK ? 0 : 1;
}
