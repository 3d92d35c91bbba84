// The pool: at most eight parked workers, driven by two semaphores each. One caller at a time owns it.
//
// A slot is idle while its done semaphore is up. The owner takes it (MultiThread_set or MultiThread_wait), fills in the
// job and wakes the worker (MultiThread_start); the worker runs the job and gives the done semaphore back. The pool
// reports on standard output. Slots outside 0..7 are the caller's error.
#pragma once

namespace eis {

inline constexpr int kMultiThreadMax = 8;

using MultiThreadCallback = void (*)(void* userData, int index);

// Starts count (0 to 8) workers; 0, or -1. Workers of an earlier pool are retired first. After a failure the workers
// that had started stay parked until the next MultiThread_Init or MultiThread_destory.
int MultiThread_Init(int count);
// Claims an idle slot and stores its job; 0, or -1 at once when the slot is busy.
int MultiThread_set(int slot, MultiThreadCallback callback, void* userData);
// Claims a slot, waiting for a running job.
void MultiThread_wait(int slot);
// Stores the job of a claimed slot.
void MultiThread_setJob(int slot, MultiThreadCallback callback, void* userData);
// Wakes the worker of a claimed slot.
void MultiThread_start(int slot);
// Runs the job of a claimed slot to its end and leaves the slot idle.
void MultiThread_sync(int slot);
// Waits for a running job, then forgets it.
void MultiThread_clear(int slot);
// Ends all workers after their running jobs.
void MultiThread_destory();

}  // namespace eis
