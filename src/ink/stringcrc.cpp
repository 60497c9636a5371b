#include <libutility/ink/stringcrc.h>

#include <QByteArray>

namespace {

constexpr std::array<quint32, 256> makeTable()
{
    std::array<quint32, 256> table {};
    for (quint32 i = 0; i < 256; ++i) {
        quint32 c = i;
        for (int bit = 0; bit < 8; ++bit)
            c = (c & 1u) ? (0xEDB88320u ^ (c >> 1)) : (c >> 1);
        table[i] = c;
    }
    return table;
}

static_assert(makeTable()[1] == 0x77073096u, "reflected CRC-32, polynomial 0xEDB88320");

} // namespace

const std::array<quint32, 256> CStringCRC::m_lookUp = makeTable();

CStringCRC::CStringCRC(const QString &s)
{
    const QByteArray bytes = s.toUtf8();
    quint32 crc = 0xFFFFFFFFu;
    for (const char b : bytes)
        crc = m_lookUp[(crc ^ static_cast<quint8>(b)) & 0xFFu] ^ (crc >> 8);
    // No final inversion: stored identifiers were made this way.
    m_value = crc;
}
