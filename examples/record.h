/* Writes a call of an entry as a record that `eis-host replay` plays again; docs/record-format.md states its bytes. For
   hosts whose memory is coherent, on little-endian machines. The part before the call is in the file when the entry
   is called, so a call that crashes is kept, too.

     recordBegin(&record, file, "Scale_Bilinear_AcoreAPI", &block, sizeof block, 0);
     recordBuffer(&record, address, "Yin", memory, bytes);              once for each buffer that the block leads to
     recordCall(&record);
     const ret_status status = Scale_Bilinear_AcoreAPI(&block);
     recordEnd(&record, status, nanoseconds);

   Texts that a block points to (the path of ParseXML_AcoreAPI_EIS) follow recordBegin by recordPointed, the file by
   recordSection(file, "FILE", ...). */
#ifndef EXAMPLES_RECORD_H
#define EXAMPLES_RECORD_H

#include <stdint.h>
#include <stdio.h>
#include <string.h>

enum { kRecordBuffers = 32, kRecordScratch = 1, kRecordShared = 2 };

typedef struct Record {
    FILE* file; /* opened for binary writing or appending; ferror() tells of a failure */
    const void* block;
    size_t blockBytes;
    int buffers;
    struct {
        uint32_t address;
        const void* memory;
        size_t bytes;
    } buffer[kRecordBuffers];
} Record;

static inline uint32_t recordSum(uint32_t sum, const void* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i) sum = (sum ^ ((const unsigned char*)bytes)[i]) * 16777619u;
    return sum;
}

/* A section whose payload stands in two pieces. */
static inline void recordSection(FILE* file, const char* tag, const void* head, size_t headBytes, const void* rest,
                                 size_t restBytes) {
    const uint32_t sum = recordSum(recordSum(recordSum(2166136261u, tag, 4), head, headBytes), rest, restBytes);
    const uint64_t length = (uint64_t)headBytes + restBytes;
    fwrite(tag, 1, 4, file);
    fwrite(&sum, 1, sizeof sum, file);
    fwrite(&length, 1, sizeof length, file);
    if (headBytes != 0) fwrite(head, 1, headBytes, file);
    if (restBytes != 0) fwrite(rest, 1, restBytes, file);
}

/* `blockAddress` is the block's device address, where it has one: 0 otherwise. */
static inline void recordBegin(Record* record, FILE* file, const char* entry, const void* block, size_t blockBytes,
                               uint32_t blockAddress) {
    const uint32_t version[2] = {1, 0};
    record->file = file;
    record->block = block;
    record->blockBytes = blockBytes;
    record->buffers = 0;
    fwrite("EISCALL\n", 1, 8, file);
    fwrite(version, 1, sizeof version, file);
    recordSection(file, "ENTR", entry, strlen(entry), NULL, 0);
    recordSection(file, "WRIT", "a host with record.h", 20, NULL, 0);
    recordSection(file, "BLCK", &blockAddress, sizeof blockAddress, block, blockBytes);
}

/* The text that the host pointer at `offset` of the block leads to. */
static inline void recordPointed(Record* record, uint32_t offset, const char* text) {
    recordSection(record->file, "PNTR", &offset, sizeof offset, text, strlen(text) + 1);
}

static inline void recordContents(Record* record, const char* tag, int buffer) {
    const uint32_t head[2] = {record->buffer[buffer].address, 0};
    recordSection(record->file, tag, head, sizeof head, record->buffer[buffer].memory, record->buffer[buffer].bytes);
}

/* A buffer, which keeps its place until recordEnd. 0, or -1 when there are too many. */
static inline int recordBuffer(Record* record, uint32_t address, const char* name, const void* memory, size_t bytes) {
    const uint32_t head[4] = {address, kRecordShared, (uint32_t)bytes, (uint32_t)((uint64_t)bytes >> 32)};
    const int number = record->buffers;
    if (number == kRecordBuffers) return -1;
    record->buffer[number].address = address;
    record->buffer[number].memory = memory;
    record->buffer[number].bytes = bytes;
    record->buffers = number + 1;
    recordSection(record->file, "BUFR", head, sizeof head, name, strlen(name));
    recordContents(record, "BEFR", number);
    return 0;
}

/* Right before the entry is called. */
static inline void recordCall(Record* record) {
    recordSection(record->file, "CALL", NULL, 0, NULL, 0);
    fflush(record->file);
}

static inline void recordEnd(Record* record, int32_t status, uint64_t nanoseconds) {
    uint32_t words[4];
    memcpy(words, &status, sizeof status);
    words[1] = 0;
    words[2] = (uint32_t)nanoseconds;
    words[3] = (uint32_t)(nanoseconds >> 32);
    recordSection(record->file, "STAT", words, sizeof words, NULL, 0);
    recordSection(record->file, "BLKA", record->block, record->blockBytes, NULL, 0);
    for (int buffer = 0; buffer < record->buffers; ++buffer) recordContents(record, "AFTR", buffer);
    recordSection(record->file, "ENDC", NULL, 0, NULL, 0);
    fflush(record->file);
}

#endif
