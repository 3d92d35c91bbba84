#include "host/video/picture_stream.h"

#include <string>

#include "host/program/exit_codes.h"

namespace eishost {

void streamPictures(PictureReader& reader, PictureWriter& writer, const std::function<Picture(const Picture&)>& make) {
    for (;;) {
        std::optional<Picture> picture;
        try {
            picture = reader.next();
            if (picture) picture = make(*picture);
        } catch (const HostError& error) {
            const std::size_t kept = writer.finishEarly();
            if (kept == 0) throw;
            throw HostError(error.code, std::string(error.what()) + "; the output holds the " + std::to_string(kept) +
                                            (kept == 1 ? " picture" : " pictures") + " before it");
        }
        if (!picture) break;
        writer.write(*picture, reader.pictureFields());
    }
    writer.finish();
}

}  // namespace eishost
