#include "pansharp.h"

size_t JobSizeInC(void);

size_t JobSizeInC(void) {
    pansharp_job job;
    pansharp_job_init(&job, sizeof job);
    return job.struct_size;
}
