// CImageLoader::loadData on arbitrary bytes: raster formats through Qt's plugins, SVG
// (plain and gzip-compressed) and Windows metafiles.
//
// The limits are lowered so that one input costs milliseconds; the refusals they cause
// take the same paths as the defaults do for larger images.
// Invariants: a failure leaves a null image and a message; a success gives an image
// within the limits, and a load with a requested size gives an image that fits into it.
#include "fuzztarget.h"

#include <libutility/imaging/imageloader.h>

#include <QByteArray>
#include <QImage>
#include <QSize>

namespace {

int fuzzImageLoader(const uint8_t *data, size_t size)
{
    const QByteArray bytes
        = QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<int>(size));
    CImageLoader::detectFormat(bytes);

    CImageLoader loader;
    loader.setMaximumSize(QSize(2048, 2048));
    loader.setMaximumPixels(1024 * 1024);
    QImage image;
    if (!loader.loadData(bytes, image, QSize(), QStringLiteral("fuzz input"))) {
        FUZZ_CHECK(image.isNull());
        FUZZ_CHECK(!loader.errorString().isEmpty());
        return 0;
    }
    FUZZ_CHECK(!image.isNull());
    FUZZ_CHECK(image.width() <= 2048 && image.height() <= 2048);
    FUZZ_CHECK(qint64(image.width()) * image.height() <= 1024 * 1024);

    const QSize box(37, 23);
    QImage scaled;
    if (loader.loadData(bytes, scaled, box, QStringLiteral("fuzz input")))
        FUZZ_CHECK(scaled.width() <= box.width() && scaled.height() <= box.height());
    return 0;
}

} // namespace

UTILITY_FUZZ_TARGET("image_loader", fuzzImageLoader);
