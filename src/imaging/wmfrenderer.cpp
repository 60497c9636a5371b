#include "wmfrenderer_p.h"

#include <libwmf/api.h>
#include <libwmf/svg.h>

#include <cstdlib>
#include <cstring>

namespace imaging_detail {

namespace {

unsigned short word(const QByteArray &data, int at)
{
    return static_cast<unsigned char>(data[at]) | (static_cast<unsigned char>(data[at + 1]) << 8);
}

// Owns a libwmf API object for the duration of one conversion.
class WmfApi
{
public:
    ~WmfApi()
    {
        if (api) {
            if (opened)
                wmf_mem_close(api);
            wmf_api_destroy(api);
        }
    }
    wmfAPI *api = nullptr;
    bool opened = false;
};

// libwmf allocates a buffer of the largest record size the header declares before it
// reads any record. No record can be larger than the file, so a header claiming more is
// damaged (or hostile: a few bytes could otherwise ask for gigabytes).
bool recordSizeFits(const QByteArray &data)
{
    const bool placeable
        = data.size() >= 4 && std::memcmp(data.constData(), "\xd7\xcd\xc6\x9a", 4) == 0;
    const int header = placeable ? 22 : 0;
    if (data.size() < header + 18)
        return false;
    const quint64 maxRecordWords
        = word(data, header + 12) | (quint64(word(data, header + 14)) << 16);
    return maxRecordWords * 2 <= quint64(data.size() - header);
}

} // namespace

bool looksLikeWmf(const QByteArray &data)
{
    if (data.size() >= 4 && std::memcmp(data.constData(), "\xd7\xcd\xc6\x9a", 4) == 0)
        return true; // placeable metafile
    if (data.size() < 18)
        return false;
    const unsigned short type = word(data, 0), headerWords = word(data, 2), version = word(data, 4);
    return (type == 1 || type == 2) && headerWords == 9 && (version == 0x0100 || version == 0x0300);
}

bool wmfToSvg(const QByteArray &data, QByteArray &svg, QSize &size, QString &error)
{
    if (!recordSizeFits(data)) {
        error = QStringLiteral("damaged metafile (record size larger than the file)");
        return false;
    }
    // libwmf reads from a buffer it does not own and may touch as unsigned char*.
    QByteArray input(data);
    WmfApi holder;
    wmfAPI_Options options;
    std::memset(&options, 0, sizeof options);
    options.function = wmf_svg_function;
    const unsigned long flags = WMF_OPT_FUNCTION | WMF_OPT_IGNORE_NONFATAL | WMF_OPT_NO_ERROR
        | WMF_OPT_NO_DEBUG;
    if (wmf_api_create(&holder.api, flags, &options) != wmf_E_None) {
        error = QStringLiteral("the metafile reader could not be started");
        return false;
    }
    if (wmf_mem_open(holder.api, reinterpret_cast<unsigned char *>(input.data()), input.size())
        != wmf_E_None) {
        error = QStringLiteral("not a readable metafile");
        return false;
    }
    holder.opened = true;

    wmfD_Rect bbox;
    if (wmf_scan(holder.api, 0, &bbox) != wmf_E_None) {
        error = QStringLiteral("damaged metafile (scan failed)");
        return false;
    }
    unsigned int width = 0, height = 0;
    if (wmf_display_size(holder.api, &width, &height, 96, 96) != wmf_E_None || width == 0
        || height == 0) {
        error = QStringLiteral("metafile without a usable size");
        return false;
    }

    wmf_svg_t *device = WMF_SVG_GetData(holder.api);
    device->out = wmf_stream_create(holder.api, nullptr);
    device->Description = const_cast<char *>("libutility");
    device->bbox = bbox;
    device->width = width;
    device->height = height;
    device->flags |= WMF_SVG_INLINE_IMAGES;

    const wmf_error_t played = wmf_play(holder.api, 0, &bbox);
    char *buffer = nullptr;
    unsigned long length = 0;
    wmf_stream_destroy(holder.api, device->out, &buffer, &length);
    if (played != wmf_E_None || !buffer || length == 0) {
        error = QStringLiteral("damaged metafile (drawing failed)");
        return false;
    }
    svg = QByteArray(buffer, int(length));
    size = QSize(int(width), int(height));
    return true;
}

} // namespace imaging_detail
