/* Leads to the records that entries reach through device addresses alone, so that the dump of the interface has them.
 */
#include "include/acore_api.h"

__attribute__((visibility("default"))) void recordsBehindAddresses(const ST_REGISTRATION_IN_BLOCK* registrationIn,
                                                                   const ST_REGISTRATION_OUT_BLOCK* registrationOut,
                                                                   const ST_MULTIDENOISE_PARAMS_IN_DEV* denoiseIn,
                                                                   const ST_MULTIDENOISE_PARAMS_OUT_DEV* denoiseOut,
                                                                   const ST_CONFIG_XML* tuning,
                                                                   const MemAllocatorTable* allocator) {
    (void)registrationIn, (void)registrationOut, (void)denoiseIn, (void)denoiseOut, (void)tuning, (void)allocator;
}
