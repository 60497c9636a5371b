#include <libutility/imaging/imageloader.h>

#include "wmfrenderer_p.h"

#include <libutility/geometry/geometry.h>

#include <QBuffer>
#include <QFile>
#include <QImageReader>
#include <QPainter>
#include <QSvgRenderer>

#include <cmath>

struct UTILITY_NO_EXPORT CImageLoader::Private
{
    QString error;
    QSize maximumSize { 16384, 16384 };
    qint64 maximumPixels = qint64(64) * 1024 * 1024;
    qint64 maximumFileSize = qint64(64) * 1024 * 1024;

    bool fail(const QString &name, const QString &reason)
    {
        error = name.isEmpty() ? reason : QStringLiteral("%1: %2").arg(name, reason);
        return false;
    }

    bool withinLimits(const QSize &size) const
    {
        return size.width() > 0 && size.height() > 0 && size.width() <= maximumSize.width()
            && size.height() <= maximumSize.height()
            && qint64(size.width()) * size.height() <= maximumPixels;
    }

    static QString describe(const QSize &size)
    {
        return QStringLiteral("%1 x %2").arg(size.width()).arg(size.height());
    }

    // The size an image of natural size gets for the requested size (see the header).
    static QSize targetSize(const QSize &natural, const QSize &requested)
    {
        if (!requested.isValid() || requested.isEmpty())
            return natural;
        const QRectF fitted = Util::calcKeepAspectRect(QRectF(QPointF(0, 0), QSizeF(requested)),
                                                       QRectF(QPointF(0, 0), QSizeF(natural)),
                                                       true, false);
        return QSize(qMax(1, int(std::lround(fitted.width()))),
                     qMax(1, int(std::lround(fitted.height()))));
    }

    bool renderSvg(const QByteArray &svg, const QSize &naturalSize, QImage &image,
                   const QSize &requested, const QString &name)
    {
        QSvgRenderer renderer(svg);
        if (!renderer.isValid())
            return fail(name, QStringLiteral("invalid SVG document"));
        QSize natural = naturalSize.isValid() ? naturalSize : renderer.defaultSize();
        if (natural.isEmpty())
            natural = QSize(256, 256);
        const QSize target = targetSize(natural, requested);
        if (!withinLimits(target))
            return fail(name, QStringLiteral("image size %1 exceeds the limit").arg(describe(target)));
        QImage result(target, QImage::Format_ARGB32_Premultiplied);
        if (result.isNull())
            return fail(name, QStringLiteral("out of memory for %1").arg(describe(target)));
        result.fill(Qt::transparent);
        QPainter painter(&result);
        renderer.render(&painter, QRectF(QPointF(0, 0), QSizeF(target)));
        painter.end();
        image = result;
        return true;
    }

    bool readRaster(const QByteArray &data, QImage &image, const QSize &requested,
                    const QString &name)
    {
        QBuffer buffer;
        buffer.setData(data);
        buffer.open(QIODevice::ReadOnly);
        QImageReader reader(&buffer);
        reader.setDecideFormatFromContent(true);
        if (!reader.canRead())
            return fail(name, QStringLiteral("not an image in a supported format"));
        QSize natural = reader.size();
        // A GIF declares a logical screen besides its first frame, and Qt's reader reports
        // the frame but decodes onto the screen: the larger of the two is what gets
        // allocated.
        if (reader.format() == "gif" && data.size() >= 10 && natural.isValid()) {
            const auto word = [&data](int at) {
                return int(quint8(data[at])) | (int(quint8(data[at + 1])) << 8);
            };
            natural = natural.expandedTo(QSize(word(6), word(8)));
        }
        if (!natural.isValid())
            return fail(name, QStringLiteral("the image does not declare its size"));
        if (!withinLimits(natural))
            return fail(name, QStringLiteral("image size %1 exceeds the limit").arg(describe(natural)));
        const QSize target = targetSize(natural, requested);
        if (!withinLimits(target))
            return fail(name, QStringLiteral("image size %1 exceeds the limit").arg(describe(target)));
        if (target != natural)
            reader.setScaledSize(target);
        QImage result;
        if (!reader.read(&result) || result.isNull())
            return fail(name, QStringLiteral("cannot decode image: %1").arg(reader.errorString()));
        // Whatever a plugin decoded beyond what the image declared is not handed out.
        if (!withinLimits(result.size()))
            return fail(name,
                QStringLiteral("image size %1 exceeds the limit").arg(describe(result.size())));
        image = result;
        return true;
    }
};

CImageLoader::CImageLoader()
    : d(new Private)
{
}

CImageLoader::~CImageLoader() = default;

CImageLoader::EFormat CImageLoader::detectFormat(const QByteArray &data)
{
    if (imaging_detail::looksLikeWmf(data))
        return eWmf;
    // SVG: an XML document with an <svg> root near the start, or gzip-compressed SVG
    // (which Qt SVG reads as well).
    const QByteArray head = data.left(1024);
    if (head.startsWith("\x1f\x8b"))
        return eSvg;
    if (head.contains("<svg"))
        return eSvg;
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    return QImageReader::imageFormat(&buffer).isEmpty() ? eUnknown : eRaster;
}

bool CImageLoader::load(const QString &path, QImage &image, const QSize &requestedSize)
{
    image = QImage();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return d->fail(path, QStringLiteral("cannot open: %1").arg(file.errorString()));
    if (file.size() > d->maximumFileSize)
        return d->fail(path, QStringLiteral("file of %1 bytes exceeds the limit of %2 bytes")
                                 .arg(file.size())
                                 .arg(d->maximumFileSize));
    return loadData(file.readAll(), image, requestedSize, path);
}

bool CImageLoader::loadData(const QByteArray &data, QImage &image, const QSize &requestedSize,
                            const QString &name)
{
    image = QImage();
    d->error.clear();
    if (data.isEmpty())
        return d->fail(name, QStringLiteral("empty file"));
    if (data.size() > d->maximumFileSize)
        return d->fail(name, QStringLiteral("data exceeds the size limit"));
    if (requestedSize.isValid() && !requestedSize.isEmpty() && !d->withinLimits(requestedSize))
        return d->fail(name, QStringLiteral("requested size %1 exceeds the limit")
                                 .arg(Private::describe(requestedSize)));

    switch (detectFormat(data)) {
    case eWmf: {
        QByteArray svg;
        QSize natural;
        QString reason;
        if (!imaging_detail::wmfToSvg(data, svg, natural, reason))
            return d->fail(name, reason);
        return d->renderSvg(svg, natural, image, requestedSize, name);
    }
    case eSvg:
        return d->renderSvg(data, QSize(), image, requestedSize, name);
    case eRaster:
        return d->readRaster(data, image, requestedSize, name);
    case eUnknown:
        break;
    }
    return d->fail(name, QStringLiteral("not an image in a supported format"));
}

QString CImageLoader::errorString() const
{
    return d->error;
}

QSize CImageLoader::maximumSize() const
{
    return d->maximumSize;
}

void CImageLoader::setMaximumSize(const QSize &size)
{
    d->maximumSize = size;
}

qint64 CImageLoader::maximumPixels() const
{
    return d->maximumPixels;
}

void CImageLoader::setMaximumPixels(qint64 pixels)
{
    d->maximumPixels = pixels;
}

qint64 CImageLoader::maximumFileSize() const
{
    return d->maximumFileSize;
}

void CImageLoader::setMaximumFileSize(qint64 bytes)
{
    d->maximumFileSize = bytes;
}
