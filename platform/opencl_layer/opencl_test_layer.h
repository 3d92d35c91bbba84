/* The OpenCL test layer: a shared library that the ICD loader puts in front of a development machine's OpenCL when
   OPENCL_LAYERS names it. It presents each platform as the phone's vendor and each device as a GPU, and answers for the
   import extension with a function that wraps host memory. Programs that link it can change what it presents, make a
   call fail, and count what is alive. */
#ifndef EIS_PLATFORM_OPENCL_TEST_LAYER_H
#define EIS_PLATFORM_OPENCL_TEST_LAYER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct EisLayerSettings {
    const char* vendor;      /* vendor text of the real platforms; null: "ARM" */
    const char* extraVendor; /* not null: one more platform ahead of the real ones, with this vendor text */
    int realDeviceType;      /* non-zero: devices show their real type */
    int hideImport;          /* non-zero: there is no import extension */
    int noPlatforms;         /* non-zero: no platform is listed, with status 0 */
    int failCall;            /* the call to fail, counted from 1 after the reset; 0: none */
} EisLayerSettings;

/* Takes new settings (null: the defaults) and starts counting calls anew. */
void eisLayerReset(const EisLayerSettings* settings);
/* Calls of OpenCL functions since the reset. */
int eisLayerCalls(void);
/* Objects and mappings that were made through the layer and not released yet. */
int eisLayerLive(void);
/* The memory that a handle stands for in an import; up to 16 handles, from 0. */
void eisLayerSetHandle(int handle, void* memory);

#ifdef __cplusplus
}
#endif

#endif
