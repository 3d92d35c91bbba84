#include "host/dsp/match_tables.h"

#include <cstring>
#include <string>

namespace eishost {

namespace {

template <typename T>
DeviceAddress putList(DspArena& arena, const std::vector<T>& values, const std::string& field) {
    const DeviceAddress address = arena.allocate(values.size() * sizeof(T), field);
    if (!values.empty()) std::memcpy(arena.dspSide(address), values.data(), values.size() * sizeof(T));
    return address;
}

}  // namespace

RansacEstParaContext putMatches(DspArena& arena, const MatchTables& matches) {
    const std::size_t pointBytes = eisSizeOfMatchPoints(matches.entries());
    RansacEstParaContext context{};
    context.stMatchPairs.pRefPoints = arena.allocate(pointBytes, "stMatchPairs.pRefPoints");
    context.stMatchPairs.pCurPoints = arena.allocate(pointBytes, "stMatchPairs.pCurPoints");
    context.stMatchPairs.pointNum = matches.entries();
    context.pCurIndex = putList(arena, matches.curIndex, "pCurIndex");
    context.pRefIndex = putList(arena, matches.refIndex, "pRefIndex");
    context.pDistance = putList(arena, matches.distance, "pDistance");
    context.matchNum = matches.entries();
    context.coordScale = 1;
    context.ratio = matches.ratio;
    context.pRefKeypoints = putList(arena, matches.refKeypoints, "pRefKeypoints");
    context.pCurKeypoints = putList(arena, matches.curKeypoints, "pCurKeypoints");
    for (const DeviceAddress list :
         {context.pCurIndex, context.pRefIndex, context.pDistance, context.pRefKeypoints, context.pCurKeypoints}) {
        arena.syncToCpu(list);
    }
    return context;
}

}  // namespace eishost
