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

#include "bench/entry_jobs.h"

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
    EntryCall call;
    void* block;
} Job;

/* To half the size. */
static void* halve(int width, int height) {
    return jobHalve(width / 2, height / 2);
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
        EntryCall call;
        void* (*make)(int, int);
    } entries[] = {{"Scale_Bilinear_AcoreAPI", jobScale, halve},
                   {"SpatialNrHLMain_ACoreApi", jobDenoise, jobDenoiseBlock},
                   {"ChromaHighLevelMainCall_2", jobChromaHigh, jobChromaBlock},
                   {"ChromaLowLevelMainCall_2", jobChromaLow, jobChromaBlock},
                   {"Ransac_Regis, warped", jobRegister, jobWarpBlock},
                   {"Ransac_Regis, copied", jobRegister, jobCopyBlock}};
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
