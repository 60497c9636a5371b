/**
 * \file
 * Loading images from raster, SVG and Windows metafile sources through one entry point.
 *
 * The loader looks at the content, not the file name: SVG (an XML document whose root
 * is `<svg>`, possibly gzip-compressed), Windows metafiles (placeable or plain WMF
 * headers), and everything QImageReader recognises from its content (PNG, JPEG, GIF,
 * BMP, ...). Raster images are decoded by Qt's image plugins, SVG is rendered with Qt
 * SVG, and WMF is converted by libwmf to SVG and rendered the same way.
 *
 * Size: without a requested size an image keeps its own size (SVG its default size,
 * WMF its size at 96 dpi). With a requested size the image is scaled to fit into it,
 * keeping its aspect ratio (Util::calcKeepAspectRect with scaling always on); the
 * result has the fitted size, without padding.
 *
 * Limits, so that a hostile file cannot exhaust memory: files larger than
 * maximumFileSize() are not read; an image whose declared or requested size exceeds
 * maximumSize() in either direction, or maximumPixels() in area, is refused before
 * any pixel is allocated. A raster format that does not declare its size before
 * decoding is refused too.
 *
 * Failures return false, leave the output image null and set errorString() to a
 * message naming the file and the reason.
 */
#ifndef LIBUTILITY_IMAGING_IMAGELOADER_H
#define LIBUTILITY_IMAGING_IMAGELOADER_H

#include <libutility/utility_export.h>

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>

#include <memory>

/// Loads raster, SVG and Windows metafile images through one entry point, within
/// limits of size and area (see the file comment).
class UTILITY_EXPORT CImageLoader
{
public:
    /// The kinds of source the loader tells apart.
    enum EFormat { eUnknown, eRaster, eSvg, eWmf };

    CImageLoader();
    ~CImageLoader();
    CImageLoader(const CImageLoader &) = delete;
    CImageLoader &operator=(const CImageLoader &) = delete;

    /// The format of data judged from its first bytes (eRaster: QImageReader can read it).
    /// \param data the source's bytes; only their beginning is examined
    /// \return the format, eUnknown when none fits
    static EFormat detectFormat(const QByteArray &data);

    /// Loads the file at path; see the class comment for sizes and limits.
    /// \param path the file to read
    /// \param[out] image receives the image; null on failure
    /// \param requestedSize the box to fit the image into; an invalid or empty size keeps
    ///     the image's own size
    /// \return true when the image was loaded
    bool load(const QString &path, QImage &image, const QSize &requestedSize = QSize());
    /// Loads from memory; name is used in error messages only.
    /// \param data the image's bytes
    /// \param[out] image receives the image; null on failure
    /// \param requestedSize the box to fit the image into; an invalid or empty size keeps
    ///     the image's own size
    /// \param name the source's name for error messages; may be empty
    /// \return true when the image was loaded
    bool loadData(const QByteArray &data, QImage &image, const QSize &requestedSize = QSize(),
                  const QString &name = QString());

    /// Text of the last failure, naming the source; empty after a success.
    /// \return the error text, or an empty string
    QString errorString() const;

    /// Largest width and height accepted (default 16384 × 16384).
    /// \return the largest width and height in pixels
    QSize maximumSize() const;
    /// Sets the largest width and height accepted.
    /// \param size the largest width and height in pixels; applies to the following loads
    void setMaximumSize(const QSize &size);
    /// Largest area accepted in pixels (default 64 Mi pixels, 256 MiB as ARGB32).
    /// \return the largest area in pixels
    qint64 maximumPixels() const;
    /// Sets the largest area accepted in pixels.
    /// \param pixels the largest area in pixels; applies to the following loads
    void setMaximumPixels(qint64 pixels);
    /// Largest file read (default 64 MiB).
    /// \return the largest file size in bytes
    qint64 maximumFileSize() const;
    /// Sets the largest file read, in bytes.
    /// \param bytes the largest file or data size in bytes; applies to the following loads
    void setMaximumFileSize(qint64 bytes);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

#endif
