#include "libCore/core/source/frame/version.h"

#include "libCore/core/source/frame/log.h"

namespace eis {

void LogVersion() {
    EIS_LOG_INFO("MFNR AP Version : __%s__%s__%s__\n", kVersionText, __DATE__, __TIME__);
}

void LogPostProcessVersion() {
    EIS_LOG_INFO("tqlmr: Marquette PostProcess Version : __%s__%s__%s__\n", kVersionText, __DATE__, __TIME__);
}

}  // namespace eis
