/* What a program under qemu-user tells the counting plugin: a system call that no kernel has, its first argument one of
   these, its second the number of a job. */
#ifndef BENCH_ARM64_COUNT_MARKS_H
#define BENCH_ARM64_COUNT_MARKS_H

enum { kCountMark = 31337, kCountStart = 1, kCountStop = 2 };

#endif
