# Compiler flags of everything here (eis_common) and of the product's objects (eis_product).
add_library(eis_common INTERFACE)
target_compile_options(eis_common INTERFACE -Wall -Wextra -Wshadow -Wvla -ffp-contract=off
    $<$<BOOL:${EIS_WARNINGS_ARE_ERRORS}>:-Werror>)
target_include_directories(eis_common INTERFACE ${CMAKE_SOURCE_DIR})

if(EIS_SANITIZE STREQUAL "address")
    set(_sanitize -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
elseif(EIS_SANITIZE STREQUAL "thread")
    set(_sanitize -fsanitize=thread -fno-omit-frame-pointer)
elseif(EIS_SANITIZE STREQUAL "memory")
    # Templates of the standard library must be compiled here to be seen.
    set(_sanitize -fsanitize=memory -fno-sanitize-recover=all -fno-omit-frame-pointer -D_GLIBCXX_EXTERN_TEMPLATE=0)
elseif(EIS_SANITIZE)
    message(FATAL_ERROR "EIS_SANITIZE must be empty, 'address', 'thread' or 'memory', not '${EIS_SANITIZE}'")
endif()
if(_sanitize)
    target_compile_options(eis_common INTERFACE ${_sanitize})
    # g++ 12 takes the states of std::regex for uninitialised where it instruments them.
    target_compile_options(eis_common INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(eis_common INTERFACE ${_sanitize})
endif()
if(EIS_BUILD_FUZZ AND NOT EIS_SANITIZE STREQUAL "memory")
    target_compile_options(eis_common INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(EIS_COVERAGE)
    # Optimised a little, or the vector kernels take minutes. The counters of threads must not be lost.
    target_compile_options(eis_common INTERFACE --coverage -fprofile-update=atomic -O1)
    target_link_options(eis_common INTERFACE --coverage)
endif()

# The product is optimised in every configuration but debug: its bits must not depend on the level, its speed does.
add_library(eis_product INTERFACE)
target_link_libraries(eis_product INTERFACE eis_common)
# Where sanitizers instrument it, the last level takes the compiler up to three times as long.
if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    target_compile_options(eis_product INTERFACE $<IF:$<BOOL:${EIS_SANITIZE}>,-O2,-O3>)
endif()
# Each function and table stands in a section of its own: what nothing that the library exports or keeps leads to stays
# out of it.
target_compile_options(eis_product INTERFACE -ffunction-sections -fdata-sections)
# Phone threads have small stacks. Instrumented frames are larger than what ships, so they are not measured.
if(NOT EIS_SANITIZE AND NOT EIS_COVERAGE AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    target_compile_options(eis_product INTERFACE -Wframe-larger-than=65536)
endif()

if(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
    # One static target: no dispatch, and no Highway library behind it.
    target_compile_definitions(eis_common INTERFACE HWY_COMPILE_ONLY_STATIC)
    set(EIS_HWY_LIBRARY "")
else()
    # Without the crypto extensions x86-64-v2 leaves exactly the targets SSE4, AVX2 and AVX3.
    target_compile_options(eis_common INTERFACE -march=x86-64-v2)
    target_compile_definitions(eis_common INTERFACE HWY_DISABLE_PCLMUL_AES)
    # Which vectors a thread works with is all the same to the thread sanitizer, and valgrind cannot run Highway's library.
    if(EIS_SANITIZE STREQUAL "thread" OR EIS_ONE_TARGET)
        target_compile_definitions(eis_common INTERFACE HWY_COMPILE_ONLY_STATIC)
        set(EIS_HWY_LIBRARY "")
    else()
        set(EIS_HWY_LIBRARY hwy)
    endif()
endif()
