/* Entries called over and over, for what grows, stays behind or changes. What a job is given is put back before each
   call; each call must leave what the first one left, no thread and no file may stay open, and memory may grow by
   64 KiB from where it settled: after the first hundredth of a job's calls, and after twenty at least, by when each of
   the C library's arenas has been used.

   soak [PART]: 10 million calls of small jobs, 100 thousand of jobs with threads and 2 thousand of denoising a
   megapixel, or that divided by PART, up to 50. Exit status 1 where a job fails. */
#define _GNU_SOURCE
#include <dirent.h>
#include <malloc.h>
#include <string.h>
#include <time.h>

#include "bench/entry_jobs.h"

enum { kMostKept = kHostBuffers, kMostGrowth = 64 << 10, kSide = 256, kLeastSettling = 20 };

/* Memory that calls change, and what it was before the first one. */
static struct {
    unsigned char* memory;
    unsigned char* before;
    size_t bytes;
} kept[kMostKept];
static int keptCount;

static void keep(void* memory, size_t bytes) {
    if (keptCount == kMostKept) abort();
    unsigned char* before = malloc(bytes);
    if (before == NULL) abort();
    memcpy(before, memory, bytes);
    kept[keptCount].memory = memory;
    kept[keptCount].before = before;
    kept[keptCount++].bytes = bytes;
}

static void putBack(void) {
    for (int i = 0; i < keptCount; ++i) memcpy(kept[i].memory, kept[i].before, kept[i].bytes);
}

/* FNV-1a, a word at a time. */
static uint64_t digestOfKept(void) {
    uint64_t digest = 14695981039346656037u;
    for (int i = 0; i < keptCount; ++i) {
        for (size_t at = 0; at < kept[i].bytes; at += sizeof digest) {
            uint64_t word = 0;
            const size_t left = kept[i].bytes - at;
            memcpy(&word, kept[i].memory + at, left < sizeof word ? left : sizeof word);
            digest = (digest ^ word) * 1099511628211u;
        }
    }
    return digest;
}

/* The match pairs of a registration alone. */
static void* pairsBlock(int width, int height) {
    const ST_RANSAC_REGIS_BLOCK* block = jobRegisterBlock(width, height, 40);
    return hostConvert(block->pRansacEstParaContext);
}
static ret_status cleanPairs(const void* block) {
    return RansacEst_AcoreAPI_EIS((RansacEstParaContext*)block);
}

/* Of the process. Not the counter of /proc/self/statm, which threads bring up to date late. */
static long residentBytes(void) {
    FILE* file = fopen("/proc/self/smaps_rollup", "r");
    char line[256];
    long kilobytes = -1;
    while (file != NULL && kilobytes < 0 && fgets(line, sizeof line, file) != NULL) {
        if (sscanf(line, "Rss: %ld", &kilobytes) != 1) kilobytes = -1;
    }
    if (kilobytes < 0) abort();
    fclose(file);
    return kilobytes * 1024;
}

static int entriesOf(const char* folder) {
    DIR* entries = opendir(folder);
    int count = 0;
    if (entries == NULL) abort();
    while (readdir(entries) != NULL) ++count;
    closedir(entries);
    return count;
}

typedef struct {
    const char* name;
    EntryCall call;
    void* (*make)(int, int);
    int width;
    int height;
    long calls;
} Job;

/* Whether all calls did what they should; tells why not. */
static int soak(const Job* job, long calls) {
    hostUsed = 1; /* what the jobs before were given stays allocated */
    keptCount = 0;
    const void* block = job->make(job->width, job->height);
    for (int b = 1; b < hostUsed; ++b) {
        extern char __data_start[], _end[]; /* between them stand the jobs' records, which are not of the heap */
        const char* memory = hostTable[b];
        if (memory < __data_start || memory >= _end) keep(hostTable[b], malloc_usable_size(hostTable[b]));
    }
    /* The one record that an entry writes to. */
    if (job->call == cleanPairs) keep((void*)block, sizeof(RansacEstParaContext));
    if (job->call == jobRegister) {
        const ST_RANSAC_REGIS_BLOCK* registration = block;
        keep(hostConvert(registration->pRansacEstParaContext), sizeof(RansacEstParaContext));
    }

    const int threads = entriesOf("/proc/self/task");
    const int files = entriesOf("/proc/self/fd");
    const clock_t start = clock();
    const long settlingCalls = calls / 100 > kLeastSettling ? calls / 100 : kLeastSettling;
    uint64_t first = 0;
    long settled = 0;
    long growth = 0;
    for (long i = 0; i < calls; ++i) {
        putBack();
        const ret_status status = job->call(block);
        if (status != retStsOK) {
            printf("%s, call %ld: status %d\n", job->name, i, (int)status);
            return 0;
        }
        const uint64_t digest = digestOfKept();
        if (i == 0) first = digest;
        if (digest != first) {
            printf("%s, call %ld: leaves other bytes than the first call\n", job->name, i);
            return 0;
        }
        if (i + 1 == settlingCalls) settled = residentBytes();
        if (i + 1 <= settlingCalls || (i + 1) % ((calls + 99) / 100) != 0) continue;
        const long now = residentBytes() - settled;
        if (now > growth) growth = now;
    }
    const int moreThreads = entriesOf("/proc/self/task") - threads;
    const int moreFiles = entriesOf("/proc/self/fd") - files;
    printf("%-20s %9ld calls %8.1f s  growth %5ld KiB  threads %+d  files %+d\n", job->name, calls,
           (double)(clock() - start) / CLOCKS_PER_SEC, growth / 1024, moreThreads, moreFiles);
    for (int i = 0; i < keptCount; ++i) free(kept[i].before);
    return growth <= kMostGrowth && moreThreads == 0 && moreFiles == 0;
}

int main(int argc, char** argv) {
    static const Job jobs[] = {{"scale", jobScale, jobHalve, 32, 24, 2500000},
                               {"clean pairs", cleanPairs, pairsBlock, 128, 128, 2500000},
                               {"fast tables", jobFastTables, jobFastTablesBlock, 0, 0, 2500000},
                               {"shrink tables", jobShrinkTables, jobShrinkTablesBlock, 0, 0, 2500000},
                               {"register, warped", jobRegister, jobWarpBlock, kSide, kSide, 20000},
                               {"register, copied", jobRegister, jobCopyBlock, kSide, kSide, 20000},
                               {"chroma high", jobChromaHigh, jobChromaBlock, kSide, kSide, 20000},
                               {"chroma low", jobChromaLow, jobChromaBlock, kSide, kSide, 20000},
                               {"denoise", jobDenoise, jobDenoiseBlock, kSide, kSide, 20000},
                               {"denoise a megapixel", jobDenoise, jobDenoiseBlock, 1120, 896, 2000}};
    const long part = argc > 1 ? strtol(argv[1], NULL, 10) : 1;
    if (part < 1 || part > 50) return 2; /* some calls must be left beyond those that settle */
    int fine = 1;
    hostStart();
    for (size_t i = 0; i < sizeof jobs / sizeof jobs[0]; ++i) {
        fine &= soak(&jobs[i], jobs[i].calls / part);
        fflush(stdout);
    }
    return fine ? 0 : 1;
}
