// Windows metafile to SVG conversion through libwmf's SVG device layer.
#ifndef LIBUTILITY_IMAGING_WMFRENDERER_P_H
#define LIBUTILITY_IMAGING_WMFRENDERER_P_H

#include <QByteArray>
#include <QSize>
#include <QString>

namespace imaging_detail {

/// True when data starts like a metafile (placeable header or plain WMF header).
bool looksLikeWmf(const QByteArray &data);

/// Converts the metafile to an SVG document; size receives its size at 96 dpi.
/// False with a reason in error when libwmf cannot read it.
bool wmfToSvg(const QByteArray &data, QByteArray &svg, QSize &size, QString &error);

} // namespace imaging_detail

#endif
