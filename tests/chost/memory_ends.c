/* Memory that ends during the load of a tuning file, at each request in turn. The C++ runtime comes with the library,
   so that none of it is ready when the first request fails: each time in a fresh process.

   memory_ends LIBRARY FOLDER */
#define _POSIX_C_SOURCE 200809L
#include <dlfcn.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include "acore_api.h"

enum { kPassed, kFailed, kNothingRefused }; /* anything else: the process was ended */

static long g_granted = -1; /* requests to go, negative for no end */

void* __libc_malloc(size_t size);
void* malloc(size_t size) {
    if (g_granted == 0) return NULL;
    if (g_granted > 0) --g_granted;
    return __libc_malloc(size);
}

int __android_log_print(int priority, const char* tag, const char* format, ...) {
    return (void)priority, (void)tag, (void)format, 0;
}

static ST_CONFIG_XML g_record;
static void* convert(DeviceAddress address) {
    return address == 1 ? &g_record : NULL;
}
static void maintain(void* address) {
    (void)address;
}

static int load(const char* libraryName, const char* folder, long granted) {
    void* library = dlopen(libraryName, RTLD_NOW);
    void (*setConverter)(IO2VAConverter);
    void (*setFlusher)(BufferMaintainer);
    ret_status (*parse)(const ST_PARSE_XML_IN*);
    if (library == NULL) return kFailed;
    *(void**)&setConverter = dlsym(library, "setIO2VAConverter");
    *(void**)&setFlusher = dlsym(library, "setGraphicBufferFlusher");
    *(void**)&parse = dlsym(library, "ParseXML_AcoreAPI_EIS");
    setConverter(convert);
    setFlusher(maintain);
    const ST_PARSE_XML_IN block = {1, folder};

    g_granted = granted;
    const ret_status status = parse(&block);
    if (g_granted > 0) return kNothingRefused;
    g_granted = -1;
    return (status == retStsOK || status == retStsFileError) && parse(&block) == retStsOK ? kPassed : kFailed;
}

int main(int argc, char** argv) {
    int outcome = argc == 3 ? kPassed : kFailed;
    long granted = 0;
    for (; outcome == kPassed; ++granted) {
        int status = 0;
        const pid_t child = fork();
        if (child == 0) _exit(load(argv[1], argv[2], granted));
        outcome = waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : kFailed;
    }
    printf("memory ended at %ld requests, the last outcome is %d\n", granted, outcome);
    return outcome == kNothingRefused && granted > 8 ? 0 : 1;
}
