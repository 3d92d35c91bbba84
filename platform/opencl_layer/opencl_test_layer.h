// The OpenCL test layer: a shared library that the ICD loader puts in front of a development machine's OpenCL when
// OPENCL_LAYERS names it. It presents each platform as the phone's vendor and each device as a GPU, answers for the
// import extension with a function that wraps host memory, and gives every event the same times. Programs that link it
// can change what it presents, watch each call, make one fail, and count what is alive.
#pragma once

struct EisLayerSettings {
    const char* vendor = "ARM";         // of the real platforms
    const char* extraVendor = nullptr;  // if any: of platforms the first real one alone, behind one of this vendor; of
                                        // its devices the first one alone, behind one that is more than a GPU
    bool realDeviceType = false;        // real devices show their own type
    bool noPlatforms = false;           // no platform is listed, with status 0
    int failCall = 0;                   // the call to fail, counted from 1 after the reset; 0: none
    bool failKeepsObject = false;       // the failing call gives its object beside the error
    // If any, it is told of each call before it is made: the function and its arguments. An object is named by the
    // function that made it, without the verb, and a number ("Context0"), a kernel by its own name; lists, sizes and a
    // kernel's arguments are told by value; any other address is "ptr" or "null".
    void (*observer)(const char* call) = nullptr;
};

extern "C" {
// Takes new settings and starts counting calls anew.
void eisLayerReset(const EisLayerSettings& settings);
// Objects and mappings that were made through the layer and not released yet.
int eisLayerLive();
// The memory that a handle stands for in an import.
void eisLayerSetHandle(int handle, void* memory);
}
