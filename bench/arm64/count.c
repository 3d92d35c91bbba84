/* count MEGAPIXELS: each entry's main job, called once to warm up and once between two marks for the plugin that counts
   instructions. Prints where the library lies, then a line a job: number, samples that come out of a call, name. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <unistd.h>

#include "bench/arm64/count_marks.h"
#include "bench/entry_jobs.h"

static void* lumaAlone(int width, int height) {
    const ST_SPATIAL_NR_CALL_BLOCK* block = jobDenoiseBlock(width, height);
    ((ST_MULTIDENOISE_PARAMS_IN_DEV*)hostConvert(block->inPara))->stDNParams.chromaNrEnable = 0;
    return (void*)block;
}

static void* doubled(int width, int height) {
    return jobScaleBlock(width / 2, height / 2, width, height);
}
static void* byFiveEighths(int width, int height) {
    return jobScaleBlock(width * 8 / 5, height * 8 / 5, width, height);
}

static const struct {
    const char* name;
    EntryCall call;
    void* (*make)(int, int);
    int entries; /* of a table; 0: the samples of a picture's luma come out */
} jobs[] = {{"denoise", jobDenoise, jobDenoiseBlock, 0},
            {"luma alone", jobDenoise, lumaAlone, 0},
            {"chroma high", jobChromaHigh, jobChromaBlock, 0},
            {"chroma low", jobChromaLow, jobChromaBlock, 0},
            {"scale to half", jobScale, jobHalve, 0},
            {"scale to double", jobScale, doubled, 0},
            {"scale by 5/8", jobScale, byFiveEighths, 0},
            {"registration", jobRegister, jobWarpBlock, 0},
            {"fast tables", jobFastTables, jobFastTablesBlock, kFastEntries},
            {"shrink tables", jobShrinkTables, jobShrinkTablesBlock, kShrinkEntries}};

int main(int argc, char** argv) {
    const int twelve = argc > 1 && atoi(argv[1]) == 12;
    const int width = twelve ? 4000 : 1120;
    const int height = twelve ? 3008 : 896;
    Dl_info library;
    if (dladdr((const void*)(uintptr_t)SpatialNrHLMain_ACoreApi, &library) == 0) return 1;
    printf("library %p\n", library.dli_fbase);
    hostStart();
    for (int i = 0; i < (int)(sizeof jobs / sizeof jobs[0]); ++i) {
        for (int warm = 0; warm < 2; ++warm) {
            for (int b = 1; b < hostUsed; ++b) hostTable[b] = NULL; /* what a call was given stays allocated */
            hostUsed = 1;
            const void* block = jobs[i].make(width, height);
            if (warm) syscall(kCountMark, kCountStart, i);
            const ret_status status = jobs[i].call(block);
            if (warm) syscall(kCountMark, kCountStop, i);
            if (status != retStsOK) return 1;
        }
        printf("%d %d %s\n", i, jobs[i].entries ? jobs[i].entries : width * height, jobs[i].name);
    }
    return 0;
}
