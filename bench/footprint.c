/* What a call of each entry takes: memory, threads, stack and time, at 1, 12 and 108 megapixels. A row an entry and
   size.

   footprint [ENTRY]: prints a table. The library's requests to the C library are counted on their way; stacks are
   painted before a thread runs and looked over when it has ended. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <malloc.h>
#include <pthread.h>
#include <stdatomic.h>
#include <string.h>
#include <sys/mman.h>
#include <time.h>

#include "examples/host.h"

enum { kStack = 1 << 20, kPaint = 0xA7, kMostThreads = 64 };

static atomic_llong live, peak;
static atomic_int threads;
static atomic_int counting;
static atomic_llong deepest;

static void* count(void* memory) {
    if (memory != NULL && atomic_load(&counting)) {
        const long long now =
            atomic_fetch_add(&live, (long long)malloc_usable_size(memory)) + malloc_usable_size(memory);
        long long most = atomic_load(&peak);
        while (now > most && !atomic_compare_exchange_weak(&peak, &most, now)) {
        }
    }
    return memory;
}

void* __libc_malloc(size_t bytes);
void* __libc_calloc(size_t items, size_t bytes);
void* __libc_memalign(size_t alignment, size_t bytes);
void __libc_free(void* memory);
void* malloc(size_t bytes) {
    return count(__libc_malloc(bytes));
}
void* calloc(size_t items, size_t bytes) {
    return count(__libc_calloc(items, bytes));
}
void* aligned_alloc(size_t alignment, size_t bytes) {
    return count(__libc_memalign(alignment, bytes));
}
int posix_memalign(void** memory, size_t alignment, size_t bytes) {
    *memory = count(__libc_memalign(alignment, bytes));
    return *memory == NULL ? 12 : 0;
}
void free(void* memory) {
    if (memory != NULL && atomic_load(&counting)) atomic_fetch_sub(&live, (long long)malloc_usable_size(memory));
    __libc_free(memory);
}

typedef int (*CreateThread)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
typedef int (*JoinThread)(pthread_t, void**);

static struct {
    pthread_t thread;
    unsigned char* stack;
} painted[kMostThreads];

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
    const CreateThread create = (CreateThread)dlsym(RTLD_NEXT, "pthread_create");
    (void)attributes;
    const int slot = atomic_fetch_add(&threads, 1);
    if (slot >= kMostThreads) abort();
    pthread_attr_t own;
    painted[slot].stack = mmap(NULL, kStack, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    memset(painted[slot].stack, kPaint, kStack);
    pthread_attr_init(&own);
    pthread_attr_setstack(&own, painted[slot].stack, kStack);
    const int status = create(thread, &own, body, argument);
    painted[slot].thread = *thread;
    pthread_attr_destroy(&own);
    return status;
}

/* The C library's own part of a thread's stack, its control block and thread-local data, counts with the rest. */
int pthread_join(pthread_t thread, void** result) {
    const JoinThread join = (JoinThread)dlsym(RTLD_NEXT, "pthread_join");
    const int status = join(thread, result);
    for (int slot = 0; slot < atomic_load(&threads) && slot < kMostThreads; ++slot) {
        if (painted[slot].stack == NULL || painted[slot].thread != thread) continue;
        long long untouched = 0;
        while (untouched < kStack && painted[slot].stack[untouched] == kPaint) ++untouched;
        if (kStack - untouched > atomic_load(&deepest)) atomic_store(&deepest, kStack - untouched);
        munmap(painted[slot].stack, kStack);
        painted[slot].stack = NULL;
    }
    return status;
}

/* One call to be measured, with what it is given. */
typedef struct Job {
    const char* entry;
    int width;
    int height;
    ret_status (*call)(const void* block);
    void* block;
} Job;

static ST_PICTURE_DEV makePicture(int width, int height) {
    ST_PICTURE_DEV picture = {width, height, hostPitch(width), {0, 0, 0}, 2};
    for (int plane = 0; plane < 3; ++plane) {
        const size_t bytes = (size_t)hostPitch(plane == 0 ? width : width / 2) * (plane == 0 ? height : height / 2);
        unsigned char* samples = hostAllocate(bytes, &picture.pData[plane]);
        for (size_t i = 0; i < bytes; ++i) samples[i] = (unsigned char)(i * 2654435761u >> 24);
    }
    return picture;
}

static ST_DN_PARAMS_NEW makeStrengths(int width, int height) {
    ST_DN_PARAMS_NEW strengths = {0};
    strengths.lumaLF = -60;
    strengths.lumaHF1 = -50;
    strengths.detail = -80;
    strengths.chromaS = 20;
    strengths.lumaNrEnable = strengths.chromaNrEnable = 1;
    strengths.chromaEdgeLevel = 65;
    strengths.chromaEdgeAlpha = 192;
    uint32_t* thresholds = hostAllocate(256, &strengths.pSpatialChromaNrLUT);
    for (int i = 0; i < kTuningChromaLutEntries; ++i) thresholds[i] = 60;
    hostAllocate((size_t)hostPitch(width) * height, &strengths.pMaskIIR);
    return strengths;
}

static ret_status scale(const void* block) {
    return Scale_Bilinear_AcoreAPI(block);
}
static void* makeScale(int width, int height) {
    static ST_SCALE_BLOCK block;
    block = (ST_SCALE_BLOCK){width / 2, height / 2, width / 2, width, height, width, 2, 0, 0, 0, 0};
    hostAllocate((size_t)width * height, &block.Yin);
    hostAllocate((size_t)2 * hostPitch(width / 2) * (height / 2), &block.Uvin);
    hostAllocate((size_t)(width / 2) * (height / 2), &block.Yout);
    hostAllocate((size_t)2 * hostPitch(width / 4) * (height / 4), &block.Uvout);
    return &block;
}

static ret_status denoise(const void* block) {
    return SpatialNrHLMain_ACoreApi(block);
}
static void* makeDenoise(int width, int height) {
    static ST_MULTIDENOISE_PARAMS_IN_DEV in;
    static ST_MULTIDENOISE_PARAMS_OUT_DEV out;
    static ST_SPATIAL_NR_CALL_BLOCK block;
    in.stDNParams = makeStrengths(width, height);
    out.stPicOut = makePicture(width, height);
    block = (ST_SPATIAL_NR_CALL_BLOCK){hostShare(&in), hostShare(&out)};
    return &block;
}

static ret_status chromaHigh(const void* block) {
    return ChromaHighLevelMainCall_2(block);
}
static ret_status chromaLow(const void* block) {
    return ChromaLowLevelMainCall_2(block);
}
static void* makeChroma(int width, int height) {
    static ST_DN_PARAMS_NEW strengths;
    static ST_CHROMA_CALL_BLOCK block;
    strengths = makeStrengths(width, height);
    const ST_PICTURE_DEV picture = makePicture(width, height);
    block.stDNParams = hostShare(&strengths);
    block.memSize = (int32_t)chromaScratchSize(width, height);
    hostAllocate((size_t)block.memSize, &block.pMemoryManagement);
    block.width = width;
    block.height = height;
    block.stride = hostPitch(width);
    block.pData1 = picture.pData[1];
    block.pData2 = picture.pData[2];
    return &block;
}

/* 500 exact pairs of a frame that moved by 12 columns and 7 rows; 4 pairs are refused, and the frame is copied. */
static ret_status registration(const void* block) {
    return Ransac_Regis_AcoreAPI_EIS(block);
}
static void* makeRegistration(int width, int height, int pairs) {
    static RansacEstParaContext matches;
    static ST_REGISTRATION_IN_BLOCK in;
    static ST_REGISTRATION_OUT_BLOCK out;
    static ST_RANSAC_REGIS_BLOCK block;
    int32_t* ref = hostAllocate(pairs * 3 * sizeof *ref, &matches.pRefKeypoints);
    int32_t* cur = hostAllocate(pairs * 3 * sizeof *cur, &matches.pCurKeypoints);
    int16_t* refIndex = hostAllocate(pairs * sizeof *refIndex, &matches.pRefIndex);
    int16_t* curIndex = hostAllocate(pairs * sizeof *curIndex, &matches.pCurIndex);
    hostAllocate(pairs * sizeof(int32_t), &matches.pDistance);
    hostAllocate(pairs * 2 * sizeof(float), &matches.stMatchPairs.pRefPoints);
    hostAllocate(pairs * 2 * sizeof(float), &matches.stMatchPairs.pCurPoints);
    for (int i = 0; i < pairs; ++i) {
        ref[3 * i] = (20 + i % 25 * (width - 60) / 25) * 64, ref[3 * i + 1] = (20 + i / 25 * (height - 60) / 20) * 64;
        cur[3 * i] = ref[3 * i] - 12 * 64, cur[3 * i + 1] = ref[3 * i + 1] - 7 * 64;
        refIndex[i] = curIndex[i] = (int16_t)i;
    }
    matches.stMatchPairs.pointNum = matches.matchNum = pairs;
    matches.coordScale = 1;
    matches.ratio = 0.8f;
    for (int i = 0; i < 2; ++i) in.astInImg[i] = makePicture(width, height);
    in.astPairs[0].pRefPoints = matches.stMatchPairs.pRefPoints;
    in.astPairs[0].pCurPoints = matches.stMatchPairs.pCurPoints;
    out.astOutImg[1] = makePicture(width, height);
    hostAllocate(sizeof(int32_t), &out.pStatus);
    block = (ST_RANSAC_REGIS_BLOCK){hostShare(&matches), hostShare(&in), hostShare(&out), 1, 0, 0};
    hostAllocate(9 * sizeof(float), &block.pHomography);
    return &block;
}
static void* makeWarp(int width, int height) {
    return makeRegistration(width, height, 500);
}
static void* makeCopy(int width, int height) {
    return makeRegistration(width, height, 4);
}

static void* run(void* job) {
    Job* const own = job;
    if (own->call(own->block) != retStsOK) abort();
    return NULL;
}

static void measure(Job job) {
    atomic_store(&live, 0), atomic_store(&peak, 0), atomic_store(&threads, 0), atomic_store(&deepest, 0);
    struct timespec from, to;
    pthread_t caller;
    atomic_store(&counting, 1);
    clock_gettime(CLOCK_MONOTONIC, &from);
    pthread_create(&caller, NULL, run, &job);
    pthread_join(caller, NULL);
    clock_gettime(CLOCK_MONOTONIC, &to);
    atomic_store(&counting, 0);
    printf("%-28s %6dx%-6d %10lld bytes %3d threads, stacks to %6lld bytes %8.1f ms\n", job.entry, job.width,
           job.height, (long long)peak, threads - 1, (long long)deepest,
           1e3 * (double)(to.tv_sec - from.tv_sec) + 1e-6 * (double)(to.tv_nsec - from.tv_nsec));
}

int main(int argc, char** argv) {
    static const struct {
        const char* entry;
        ret_status (*call)(const void*);
        void* (*make)(int, int);
    } entries[] = {
        {"Scale_Bilinear_AcoreAPI", scale, makeScale},         {"SpatialNrHLMain_ACoreApi", denoise, makeDenoise},
        {"ChromaHighLevelMainCall_2", chromaHigh, makeChroma}, {"ChromaLowLevelMainCall_2", chromaLow, makeChroma},
        {"Ransac_Regis, warped", registration, makeWarp},      {"Ransac_Regis, copied", registration, makeCopy}};
    static const int sizes[][2] = {{1152, 864}, {4000, 3008}, {12000, 9008}};
    for (size_t e = 0; e < sizeof entries / sizeof entries[0]; ++e) {
        if (argc > 1 && strstr(entries[e].entry, argv[1]) == NULL) continue;
        for (int s = 0; s < 3; ++s) {
            hostUsed = 1; /* what the call before was given stays allocated, and uncounted */
            hostStart();
            const Job job = {entries[e].entry, sizes[s][0], sizes[s][1], entries[e].call,
                             entries[e].make(sizes[s][0], sizes[s][1])};
            measure(job);
        }
    }
    return 0;
}
