/* The exported surface of libkelvane_eis_ap.

   A host installs its three callbacks, then calls entries with a pointer to a parameter block in memory that it shares
   with the DSP. An entry converts the block's device addresses, works on the caller's thread and on threads that it
   joins, flushes its outputs, unless said, and returns a status. File entries, registration and scaling invalidate what
   they read; for the others the host makes it coherent. All log through __android_log_print: under the tag "MFNR_AP"
   what concerns the OpenCL platform, devices and context and its profiling, all else under "EIS_AP". The pool of worker
   threads, which no entry opens, prints on standard output.

   Entries may run at once, on any threads, each on memory and files of its own, but where the table says no:

       with                                        1    2    3    4    5    6    7
       1 the three setters                         no   no   no   no   no   yes  no
       2 CalcShrinkLUTDnCoef with an allocator     no   no   no   no   yes  yes  yes
       3 SpatialNrHLMain_ACoreApi                  no   no   no   yes  yes  yes  yes
       4 ChromaLowLevelMainCall_2                  no   no   yes  yes  yes  yes  yes
       5 ParseXML_AcoreAPI_EIS                     no   yes  yes  yes  no   yes  yes
       6 CleanOpenclMFNR_AcoreAPI                  yes  yes  yes  yes  yes  no   yes
       7 all others, CalcShrinkLUTDnCoef, too      no   yes  yes  yes  yes  yes  yes

   Callbacks are called on the thread of the call, an allocator's functions on worker threads, too. Neither calls an
   entry or a setter. */
#ifndef ACORE_API_H
#define ACORE_API_H

#include "acore_types.h"
#include "control_blocks.h"
#include "denoise_blocks.h"
#include "file_blocks.h"
#include "registration_blocks.h"
#include "scale_block.h"
#include "tuning_blocks.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Set-up. All three must be installed before the first entry runs; a later call replaces the earlier value. */
void setIO2VAConverter(IO2VAConverter converter);
void setGraphicBufferInvalidater(BufferMaintainer invalidater);
void setGraphicBufferFlusher(BufferMaintainer flusher);

/* File access on behalf of the DSP. 0; -999 when the file does not open. A buffer that does not convert is -999 from
   ivp_fread_align and -998 from ivp_fwrite_align; the other two then transfer nothing, and return 0. Short reads and
   writes are not reported. ivp_fwrite_align does not flush its buffer. */
ret_status ivp_fread(const ST_FILE_BLOCK* block);
ret_status ivp_fwrite(const ST_FILE_BLOCK* block);
ret_status ivp_fread_align(const ST_FILE_ALIGN_BLOCK* block);
ret_status ivp_fwrite_align(const ST_FILE_ALIGN_BLOCK* block);

/* Loads the tuning file into the record at the block's device address: every key of the file, or its default, with the
   strengths of the SFNoiseReduction section clamped to -100..0. A key that is missing, or whose text is no number, is
   not an error. Then hands the three callbacks on to the sibling library libeis_huefuse_acore. A path that was loaded
   last is not read again, even when the file has changed. Must not run twice at once. 0; -998 when the path is null or
   the address does not convert; -999 when the file does not load: absent, shorter than 200 bytes, not well-formed
   enough, or a name of more than 255 characters. */
ret_status ParseXML_AcoreAPI_EIS(const ST_PARSE_XML_IN* block);

/* Cleans match pairs: builds float pairs from a k-nearest-neighbour result, drops repeated reference points by a ratio
   test and keeps the inliers of a RANSAC homography, in order, at the front of both arrays; pointNum becomes their
   number. Pairs of which no usable sample can be drawn all stay; where no model fits five, pointNum becomes 4. Nothing
   is flushed. 0; 3 when pointNum, or the number of pairs ahead of the RANSAC, is below five; -998 when an address does
   not convert; -1000. */
ret_status RansacEst_AcoreAPI_EIS(RansacEstParaContext* block);

/* Registers frame idx onto the reference frame: cleans its pairs as above, fits a homography, warps the frame into
   output picture idx, or copies it as it is when it cannot be aligned. The outcome stands in the status word: 0 warped,
   3 copied. The picture's planes and the status word are flushed, pairs and homography are not. A warp whose threads do
   not start is done by the caller's. A copy takes a plane after the other, each in quarters on four threads. Where the
   thread of a plane's last quarter does not start, the call ends behind that plane with -997, and flushes nothing; a
   first, second or third quarter whose thread does not start stays as it was, and the call goes on as if it had been
   copied. 0, whether warped or copied; -997 as above; -998 when an address does not convert or the format is not 2;
   -1000. */
ret_status Ransac_Regis_AcoreAPI_EIS(const ST_RANSAC_REGIS_BLOCK* block);

/* Crops and scales a planar YUV 4:2:0 picture with fixed-point bilinear interpolation (12-bit weights, truncating).
   0; -998 when an address does not convert; -1000 when there is no memory. */
ret_status Scale_Bilinear_AcoreAPI(const ST_SCALE_BLOCK* block);

/* Denoises a picture in place: luma by a 5/3 lifting split, edge-preserving recursive smoothing of its low band and
   table shrinkage of its details under a gradient guard, chroma as ChromaHighLevelMainCall_2 does. The planes are
   flushed. Calls must not overlap. 0; 0, too, when one of four bands found no memory: it stays as it came; -997 when a
   thread did not start (the other bands may be written); -998 when an address does not convert (nothing is flushed
   then) or the width or height is below 128; -1000. */
ret_status SpatialNrHLMain_ACoreApi(const ST_SPATIAL_NR_CALL_BLOCK* block);

/* Denoise the two chroma planes of a picture in place, at quarter scale: wavelet shrinkage (undecimated "a trous"
   transform, soft thresholds after Donoho and Johnstone) guarded by a map of chroma edges, then a saturation gain. The
   low level also follows the motion mask. Both planes are flushed, but under 256 rows only when they were denoised. 0;
   0 with nothing done when width, height or stride is below 128; 0, too, when a band found no memory: it stays as it
   came; -997 when a thread did not start (the other bands may be written, nothing is flushed); -998 when an address
   does not convert; -1000. */
ret_status ChromaLowLevelMainCall_2(const ST_CHROMA_CALL_BLOCK* block);
ret_status ChromaHighLevelMainCall_2(const ST_CHROMA_CALL_BLOCK* block);

/* Computes the tables of the fast denoiser from six strengths into the block's 4096-byte buffer, and logs its cost.
   Each table is a form of coring: a difference of size k corrects by k * (1 - k / span)^e, where the strength sets e,
   so that small differences correct in full and large ones not at all. A strength of none gives zeros. The luma, chroma
   and shading curves carry five fractional bits, threshold and tail none. Strengths beyond their ranges are not
   rejected. Always 0; when the address does not convert, nothing is written. */
ret_status CalcFastDn2dControl_AcoreAPI(const ST_FAST_DN2D_CONTROL* fastDn2dControl);

/* Computes three shrink tables (coefficient k in -511..511 to what is left of it) and two luma curves from six
   strengths into the block's buffer. When memAllocator is not 0 it installs that table for the large buffers of the
   denoise entries; do not run it at the same time as one of these. 0; -998 when the address does not convert, with
   nothing written or installed. */
ret_status CalcShrinkLUTDnCoef(const ST_SHRINK_LUT_CONTROL* block);

/* Joins the GPU thread, if there is one, and tears the GPU path down. 0, also when nothing was up; -997 when the
   release reported a failure. */
ret_status CleanOpenclMFNR_AcoreAPI(void);

#ifdef __cplusplus
}
#endif

#endif
