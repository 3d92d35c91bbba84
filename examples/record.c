/* Keeps a call of Scale_Bilinear_AcoreAPI as a record, which `eis-host replay` plays again on another machine.

   record FOLDER: writes scale.eisc there. FOLDER ends with a slash. */
#include "record.h"

#include <time.h>

#include "host.h"

enum { kSide = 256, kHalf = kSide / 2 };

int main(int argc, char** argv) {
    char name[256];
    if (argc != 2 || snprintf(name, sizeof name, "%sscale.eisc", argv[1]) >= (int)sizeof name) {
        fprintf(stderr, "usage: %s FOLDER/\n", argv[0]);
        return 1;
    }
    hostStart();
    ST_SCALE_BLOCK block = {kHalf, kHalf, kHalf, kSide, kSide, kSide, 2, 0, 0, 0, 0};
    const size_t bytes[4] = {eisSizeOfScaleLuma(kSide, kSide), eisSizeOfScaleChroma(kSide, kSide),
                             eisSizeOfScaleLuma(kHalf, kHalf), eisSizeOfScaleChroma(kHalf, kHalf)};
    const char* const names[4] = {"Yin", "Uvin", "Yout", "Uvout"};
    DeviceAddress* const addresses[4] = {&block.Yin, &block.Uvin, &block.Yout, &block.Uvout};
    unsigned char* planes[4];
    for (int i = 0; i < 4; ++i) planes[i] = (unsigned char*)hostAllocate(bytes[i], addresses[i]);
    for (size_t i = 0; i < bytes[0]; ++i) planes[0][i] = (unsigned char)(i * 7 + i / kSide * 13);

    FILE* const file = fopen(name, "wb");
    if (file == NULL) return perror(name), 1;
    static Record record;
    recordBegin(&record, file, "Scale_Bilinear_AcoreAPI", &block, sizeof block, 0);
    for (int i = 0; i < 4; ++i) recordBuffer(&record, *addresses[i], names[i], planes[i], bytes[i]);
    recordCall(&record);
    const clock_t start = clock();
    const ret_status status = Scale_Bilinear_AcoreAPI(&block);
    recordEnd(&record, status, (uint64_t)(clock() - start) * (1000000000 / CLOCKS_PER_SEC));
    const long length = ftell(file);
    const int failed = ferror(file);
    if (fclose(file) != 0 || failed) return fprintf(stderr, "%s: not written\n", name), 1;
    const size_t planeBytes = bytes[0] + bytes[1] + bytes[2] + bytes[3];
    printf("%s: %ld bytes for %lu of planes, twice\n", name, length, (unsigned long)planeBytes);
    return hostEnd(status == retStsOK && length > 2 * (long)planeBytes && length < 2 * (long)planeBytes + 2000);
}
