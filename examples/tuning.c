/* Loads a tuning file with ParseXML_AcoreAPI_EIS: each key of the file stands in the record, all others have defaults.

   tuning FOLDER: writes multiframe.xml there. FOLDER ends with a slash. */
#include <string.h>

#include "host.h"

/* The record's fields stand at any byte: reading one through a pointer to its type is not for every processor. */
static int32_t field(const void* address) {
    int32_t value;
    memcpy(&value, address, sizeof value);
    return value;
}

int main(int argc, char** argv) {
    char name[256];
    if (argc != 2 || snprintf(name, sizeof name, "%smultiframe.xml", argv[1]) >= (int)sizeof name) {
        fprintf(stderr, "usage: %s FOLDER/\n", argv[0]);
        return 1;
    }
    FILE* file = fopen(name, "w");
    if (file == NULL) return perror(name), 1;
    fputs(
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Config>\n"
        "  <NoiseReduction><ISO3><isovalue>800</isovalue><lumaLF>-60</lumaLF></ISO3></NoiseReduction>\n"
        "  <SFNoiseReduction><ISO1><luma>-250</luma></ISO1></SFNoiseReduction>\n"
        "  <!-- The reader takes no file of less than 200 bytes. -->\n</Config>\n",
        file);
    if (fclose(file) != 0) return perror(name), 1;

    hostStart();
    static ST_CONFIG_XML record;
    const ST_PARSE_XML_IN block = {hostShare(&record), argv[1]};
    if (ParseXML_AcoreAPI_EIS(&block) != retStsOK) return 1;
    const int32_t iso = field(&record.astIso[2].isovalue), strength = field(&record.astIso[2].lumaLF);
    const int32_t clamped = field(&record.stSf.astIso[0].luma);
    printf("row 3: ISO %d, lumaLF %d; -250 is clamped to %d\n", (int)iso, (int)strength, (int)clamped);
    return hostEnd(iso == 800 && strength == -60 && clamped == -100);
}
