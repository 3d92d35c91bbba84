/* A plugin of qemu-user: counts the instructions that a program executes between two of its marks.

   qemu-aarch64 -plugin libcount.so,out=FILE PROGRAM: FILE gets a line for each translated block that ran: the job's
   number, the block's address, its instructions, how often it ran. Blocks are counted on all threads. */
#include <inttypes.h>
#include <pthread.h>
#include <stdatomic.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "bench/arm64/count_marks.h"

/* The part of qemu's plugin interface that is used, version 1: Debian does not package its header. */
typedef uint64_t PluginId;
typedef struct qemu_plugin_tb Block;
enum { kPluginVersion = 1, kNoRegisters = 0 };
void qemu_plugin_register_vcpu_tb_trans_cb(PluginId id, void (*translated)(PluginId id, Block* block));
void qemu_plugin_register_vcpu_tb_exec_cb(Block* block, void (*executed)(unsigned int cpu, void* data), int flags,
                                          void* data);
void qemu_plugin_register_vcpu_syscall_cb(PluginId id,
                                          void (*called)(PluginId id, unsigned int cpu, int64_t number, uint64_t a1,
                                                         uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5,
                                                         uint64_t a6, uint64_t a7, uint64_t a8));
size_t qemu_plugin_tb_n_insns(const Block* block);
uint64_t qemu_plugin_tb_vaddr(const Block* block);

#define PLUGIN_EXPORT __attribute__((visibility("default")))
PLUGIN_EXPORT int qemu_plugin_version = kPluginVersion;
PLUGIN_EXPORT int qemu_plugin_install(PluginId id, const void* info, int argc, char** argv);

typedef struct Counter {
    struct Counter* next;
    uint64_t address;
    uint64_t instructions;
    atomic_ullong runs;
} Counter;

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static Counter* counters; /* grows at its head, under the lock; blocks are never forgotten */
static atomic_bool counting;
static FILE* out;

static void onExecuted(unsigned int cpu, void* data) {
    (void)cpu;
    Counter* counter = data;
    if (atomic_load_explicit(&counting, memory_order_relaxed)) {
        atomic_fetch_add_explicit(&counter->runs, 1, memory_order_relaxed);
    }
}

static void onTranslated(PluginId id, Block* block) {
    (void)id;
    Counter* counter = calloc(1, sizeof *counter);
    if (counter == NULL) abort();
    counter->address = qemu_plugin_tb_vaddr(block);
    counter->instructions = qemu_plugin_tb_n_insns(block);
    pthread_mutex_lock(&lock);
    counter->next = counters;
    counters = counter;
    pthread_mutex_unlock(&lock);
    qemu_plugin_register_vcpu_tb_exec_cb(block, onExecuted, kNoRegisters, counter);
}

static void report(uint64_t job) {
    pthread_mutex_lock(&lock);
    for (Counter* counter = counters; counter != NULL; counter = counter->next) {
        const uint64_t runs = atomic_exchange(&counter->runs, 0);
        if (runs == 0) continue;
        fprintf(out, "%" PRIu64 " %" PRIx64 " %" PRIu64 " %" PRIu64 "\n", job, counter->address, counter->instructions,
                runs);
    }
    fflush(out);
    pthread_mutex_unlock(&lock);
}

static void onSystemCall(PluginId id, unsigned int cpu, int64_t number, uint64_t what, uint64_t job, uint64_t a3,
                         uint64_t a4, uint64_t a5, uint64_t a6, uint64_t a7, uint64_t a8) {
    (void)id, (void)cpu, (void)a3, (void)a4, (void)a5, (void)a6, (void)a7, (void)a8;
    if (number != kCountMark) return;
    atomic_store(&counting, what == kCountStart);
    if (what == kCountStop) report(job);
}

int qemu_plugin_install(PluginId id, const void* info, int argc, char** argv) {
    (void)info;
    if (argc != 1 || strncmp(argv[0], "out=", 4) != 0) return 1;
    out = fopen(argv[0] + 4, "w");
    if (out == NULL) return 1;
    qemu_plugin_register_vcpu_tb_trans_cb(id, onTranslated);
    qemu_plugin_register_vcpu_syscall_cb(id, onSystemCall);
    return 0;
}
