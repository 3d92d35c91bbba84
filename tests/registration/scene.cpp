#include "tests/registration/scene.h"

#include <cstring>

namespace eis::test {

Scene::Scene(const SceneOptions& sceneOptions)
    : options(sceneOptions),
      refTable(eisSizeOfKeypoints(options.matches)),
      curTable(refTable.size()),
      refIndex(eisSizeOfMatchIndices(options.matches)),
      curIndex(refIndex.size()),
      distance(eisSizeOfMatchDistances(options.matches)),
      refPoints(eisSizeOfMatchPoints(options.matches)),
      curPoints(refPoints.size()),
      reference(options.width, options.height),
      frame(options.width, options.height),
      output(options.width, options.height),
      before(options.width, options.height) {
    Random random(options.seed);
    for (int i = 0; i < options.matches; ++i) {
        const int64_t x = random.in(64 * 10, 64 * (options.width - 10));
        const int64_t y = random.in(64 * 10, 64 * (options.height - 10));
        const int64_t error = isWrong(i) ? 64 * random.in(50, 90) : 0;
        const auto miss = [&] { return options.noise == 0 ? 0 : random.in(-64 * options.noise, 64 * options.noise); };
        const int64_t missX = miss();
        const int64_t missY = miss();
        // The current table stands in another order.
        const int row = (i * 7 + 3) % options.matches;
        const int64_t words[2][3] = {{x, y, -1},
                                     {x + static_cast<int64_t>(options.shift * 64) + missX, y + error + missY, -1}};
        for (int k = 0; k < 3; ++k) {
            refTable.put(3 * i + k, static_cast<int32_t>(words[0][k]));
            curTable.put(3 * row + k, static_cast<int32_t>(words[1][k]));
        }
        refIndex.put(i, static_cast<int16_t>(i));
        curIndex.put(i, static_cast<int16_t>(row));
        distance.put(i, 10 + i);
    }
    reference.fillAll(Content::kNatural, 43);
    frame.fillAll(Content::kNatural, 47);
    before.fillAll(Content::kRandom, 53);

    context.stMatchPairs = {space.add("refPoints", refPoints.data(), refPoints.size()),
                            space.add("curPoints", curPoints.data(), curPoints.size()), options.matches};
    context.pCurIndex = space.add("curIndex", curIndex.data(), curIndex.size());
    context.pRefIndex = space.add("refIndex", refIndex.data(), refIndex.size());
    context.pDistance = space.add("distance", distance.data(), distance.size());
    context.matchNum = options.matches;
    context.coordScale = 1;
    context.ratio = 0.8F;
    context.pRefKeypoints = space.add("refTable", refTable.data(), refTable.size());
    context.pCurKeypoints = space.add("curTable", curTable.data(), curTable.size());

    // What the entry is not to read of the blocks would take it astray.
    std::memset(&in, 0xEE, sizeof in);
    std::memset(&out, 0xEE, sizeof out);
    in.astInImg[0].width = options.width;
    in.astInImg[0].height = options.height;
    in.astInImg[0].format = 2;
    const auto place = [&](const std::string& name, const YuvPicture& picture, ST_PICTURE_DEV& record) {
        for (int i = 0; i < 3; ++i) {
            const Plane<uint8_t>& plane = picture.planes[i];
            record.pData[i] = space.add(name + std::to_string(i), plane.data(), plane.size());
        }
    };
    place("ref", reference, in.astInImg[0]);
    place("cur", frame, in.astInImg[options.idx]);
    place("out", output, out.astOutImg[options.idx]);
    in.astPairs[options.idx - 1].pRefPoints = context.stMatchPairs.pRefPoints;
    in.astPairs[options.idx - 1].pCurPoints = context.stMatchPairs.pCurPoints;
    out.pStatus = space.add("status", status.data(), status.size());
    block = {space.addObject("context", context),
             space.addObject("in", in),
             space.addObject("out", out),
             options.idx,
             0,
             space.add("homography", homography.data(), homography.size())};
    reset();
}

void Scene::reset() {
    context.stMatchPairs.pointNum = options.matches;
    std::memset(refPoints.data(), 0xEE, refPoints.size());
    std::memset(curPoints.data(), 0xEE, curPoints.size());
    std::memset(homography.data(), 0xEE, homography.size());
    status.put(0, 77);
    output.copyFrom(before);
}

}  // namespace eis::test
