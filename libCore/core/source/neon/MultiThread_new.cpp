#include "libCore/core/source/neon/MultiThread_new.h"

#include <pthread.h>
#include <semaphore.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>

#include "libCore/core/source/frame/traced_thread.h"

namespace eis {

namespace {

constexpr char kPoolUnit[] = "libCore/core/source/neon/MultiThread_new";
constexpr TraceSite kInitSite{kPoolUnit, "int MultiThread_Init(int)"};
constexpr TraceSite kDestorySite{kPoolUnit, "void MultiThread_destory()"};

struct MultiThreadSlot {
    pthread_t thread;
    uint8_t exitFlag;
    sem_t startSem;  // wakes the worker
    sem_t doneSem;   // held while a job runs; guards the job fields
    int32_t index;
    MultiThreadCallback callback;
    void* userData;
};

MultiThreadSlot g_slots[kMultiThreadMax];
// Whether a worker is parked or running on the slot. Apart from the slots, whose fields belong to slot and worker.
bool g_alive[kMultiThreadMax];

void waitSemaphore(sem_t* semaphore) {
    while (sem_wait(semaphore) != 0 && errno == EINTR) {
    }
}

void* workerThread(void* indexOfSlot) {
    MultiThreadSlot& slot = g_slots[*static_cast<int32_t*>(indexOfSlot)];
    waitSemaphore(&slot.startSem);
    while (slot.exitFlag == 0) {
        if (slot.callback == nullptr) {
            // The worker may be retired once the done semaphore is up, so the index is read before.
            const int index = slot.index;
            sem_post(&slot.doneSem);
            std::printf("Thread %d BAD Parameter, Please invoke MultiThread_set to set thread callback\n", index);
        } else {
            slot.callback(slot.userData, slot.index);
            sem_post(&slot.doneSem);
        }
        waitSemaphore(&slot.startSem);
    }
    sem_post(&slot.doneSem);
    pthread_exit(nullptr);
}

// Ends the worker of a live slot once its running job is done.
void retire(int index, const TraceSite& site) {
    MultiThreadSlot& slot = g_slots[index];
    waitSemaphore(&slot.doneSem);
    slot.exitFlag = 1;
    sem_post(&slot.startSem);
    joinTracedThread(slot.thread, site);
    sem_destroy(&slot.startSem);
    sem_destroy(&slot.doneSem);
    g_alive[index] = false;
}

void retireAll(const TraceSite& site) {
    for (int i = 0; i < kMultiThreadMax; ++i) {
        if (g_alive[i]) retire(i, site);
    }
}

bool startWorker(int index, const pthread_attr_t* attributes) {
    MultiThreadSlot& slot = g_slots[index];
    sem_init(&slot.startSem, 0, 1);
    sem_init(&slot.doneSem, 0, 1);
    waitSemaphore(&slot.startSem);
    slot.exitFlag = 0;
    slot.index = index;
    slot.callback = nullptr;
    slot.userData = nullptr;
    g_alive[index] = startTracedThread(&slot.thread, attributes, workerThread, &slot.index, kInitSite) == 0;
    if (!g_alive[index]) {
        sem_destroy(&slot.startSem);
        sem_destroy(&slot.doneSem);
    }
    return g_alive[index];
}

}  // namespace

int MultiThread_Init(int count) {
    if (static_cast<unsigned>(count) > kMultiThreadMax) {
        std::printf("Bad Thread number , should be [1, %d] !\n", kMultiThreadMax);
        return -1;
    }
    retireAll(kInitSite);
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) {
        std::printf("Failed to init thread attribute.");
        return -1;
    }
    for (int i = 0; i < count; ++i) {
        if (!startWorker(i, &attributes)) {
            std::printf("[%s] Create Thread Failed!", __func__);
            pthread_attr_destroy(&attributes);
            return -1;
        }
    }
    if (pthread_attr_destroy(&attributes) != 0) {
        std::printf("[%s] Create Thread Failed!", __func__);
        return -1;
    }
    return 0;
}

int MultiThread_set(int slot, MultiThreadCallback callback, void* userData) {
    if (sem_trywait(&g_slots[slot].doneSem) != 0) return -1;
    MultiThread_setJob(slot, callback, userData);
    return 0;
}

void MultiThread_wait(int slot) {
    waitSemaphore(&g_slots[slot].doneSem);
}

void MultiThread_setJob(int slot, MultiThreadCallback callback, void* userData) {
    g_slots[slot].callback = callback;
    g_slots[slot].userData = userData;
}

void MultiThread_start(int slot) {
    sem_post(&g_slots[slot].startSem);
}

void MultiThread_sync(int slot) {
    sem_post(&g_slots[slot].startSem);
    waitSemaphore(&g_slots[slot].doneSem);
    sem_post(&g_slots[slot].doneSem);
}

void MultiThread_clear(int slot) {
    waitSemaphore(&g_slots[slot].doneSem);
    MultiThread_setJob(slot, nullptr, nullptr);
    sem_post(&g_slots[slot].doneSem);
}

void MultiThread_destory() {
    retireAll(kDestorySite);
}

}  // namespace eis
