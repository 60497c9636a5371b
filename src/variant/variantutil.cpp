#include <libutility/variant/variantutil.h>

#include <libutility/files/osutil.h>
#include <libutility/qtcompat_p.h>

#include <QByteArray>
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QVariantList>
#include <QVariantMap>
#include <QXmlStreamReader>

namespace {

// --- Writer ---------------------------------------------------------------------------

// A string naming an existing file becomes a resource reference; see the header.
void appendString(const CXMLSerializeInfo &info, const QString &text, QString &out)
{
    if (!text.isEmpty() && QFileInfo::exists(text)) {
        const QString fileName = QFileInfo(text).fileName();
        if (!info.m_rootDirectory.isEmpty()) {
            const QString destination = info.m_rootDirectory + QDir::separator()
                + info.m_resourceDirectory + QLatin1Char('/') + fileName;
            // QFile::copy never overwrites; a failed copy is deliberately not reported.
            QFile::copy(text, destination);
            COsUtil::setPermissions(destination, COsUtil::eAllPermissions);
        }
        // The value's own path stays in front of the reference: documents written so
        // far carry this form and their readers rely on it.
        out += text;
        out += QLatin1String("/resources/");
        out += fileName;
        return;
    }
    out += text;
}

// The unescaped fragment of one value, appended to out.
void writeValue(const CXMLSerializeInfo &info, const QVariant &value, QString &out)
{
    switch (value.userType()) {
    case QMetaType::Bool:
        out += QLatin1String("<value><boolean>");
        out += value.toBool() ? QLatin1String("true") : QLatin1String("false");
        out += QLatin1String("</boolean></value>");
        return;
    case QMetaType::Int:
        out += QLatin1String("<value><int>");
        out += QString::number(value.toInt(), 10);
        out += QLatin1String("</int></value>");
        return;
    case QMetaType::Double:
        out += QLatin1String("<value><double>");
        out += QString::number(value.toDouble(), 'g', 6);
        out += QLatin1String("</double></value>");
        return;
    case QMetaType::QString:
        out += QLatin1String("<value><string>");
        appendString(info, value.toString(), out);
        out += QLatin1String("</string></value>");
        return;
    case QMetaType::QByteArray:
        out += QLatin1String("<value><base64>");
        out += QLatin1String(value.toByteArray().toBase64());
        out += QLatin1String("</base64></value>");
        return;
    case QMetaType::QDateTime:
        out += QLatin1String("<value><datetime.iso8601>");
        out += value.toDateTime().toString(Qt::ISODate);
        out += QLatin1String("</datetime.iso8601></value>");
        return;
    case QMetaType::QVariantList: {
        out += QLatin1String("<value><array><data>");
        const QVariantList list = value.toList();
        for (const QVariant &item : list)
            writeValue(info, item, out);
        out += QLatin1String("</data></array></value>");
        return;
    }
    case QMetaType::QVariantMap: {
        out += QLatin1String("<value><map>");
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            out += QLatin1String("<member><name>");
            out += it.key();
            out += QLatin1String("</name>");
            writeValue(info, it.value(), out);
            out += QLatin1String("</member>");
        }
        out += QLatin1String("</map></value>");
        return;
    }
    default:
        qWarning().nospace() << "Failed to convert unknown variant type: "
                             << QtCompat::VariantType { value };
        out += QLatin1String("<value/>");
        return;
    }
}

// --- Reader ---------------------------------------------------------------------------

// Reads a value tree straight from the token stream. The recursion follows the nesting
// of values only and stops at CVariantUtil::MAX_NESTING_DEPTH; everything else (text
// collection, skipping) walks the tokens iteratively, so no input can exhaust the stack.
// Whitespace-only text is significant only as the content of a value or typed element.
class FragmentReader
{
public:
    explicit FragmentReader(const QString &xml)
        : m_xml(xml)
    {
        // Qualified names are taken as they stand, as a plain DOM parse would.
        m_xml.setNamespaceProcessing(false);
    }

    QVariant readDocument()
    {
        QVariant result;
        bool haveRoot = false;
        while (!m_xml.atEnd()) {
            if (m_xml.readNext() == QXmlStreamReader::StartElement) {
                result = readValue(1);
                haveRoot = true;
                break;
            }
        }
        // The rest must be well-formed too.
        while (!m_xml.atEnd())
            m_xml.readNext();
        if (m_xml.hasError() || !haveRoot)
            return QVariant();
        return result;
    }

private:
    bool isName(const char *name) const { return m_xml.qualifiedName() == QLatin1String(name); }

    bool isTag(QStringView tag, const char *name) const
    {
        return tag.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
    }

    // Moves to the next child element of the current element, passing over text,
    // comments and processing instructions. False at the current element's end (or on
    // an error).
    bool nextChildElement()
    {
        for (;;) {
            switch (m_xml.readNext()) {
            case QXmlStreamReader::StartElement:
                return true;
            case QXmlStreamReader::EndElement:
            case QXmlStreamReader::Invalid:
            case QXmlStreamReader::EndDocument:
                return false;
            default:
                break;
            }
        }
    }

    // Appends all text up to the end of the current element, child elements included
    // (what a DOM element's text() gives).
    void appendTextToEnd(QString &out)
    {
        int level = 0;
        for (;;) {
            switch (m_xml.readNext()) {
            case QXmlStreamReader::Characters:
                out += m_xml.text();
                break;
            case QXmlStreamReader::StartElement:
                ++level;
                break;
            case QXmlStreamReader::EndElement:
                if (level == 0)
                    return;
                --level;
                break;
            case QXmlStreamReader::Invalid:
            case QXmlStreamReader::EndDocument:
                return;
            default:
                break;
            }
        }
    }

    QString elementText()
    {
        QString text;
        appendTextToEnd(text);
        return text;
    }

    void skipRestOfElement()
    {
        while (nextChildElement())
            m_xml.skipCurrentElement();
    }

    // At the start of a "value" element (whatever its name); returns at its end.
    QVariant readValue(int depth)
    {
        if (depth > CVariantUtil::MAX_NESTING_DEPTH) {
            m_xml.raiseError(QStringLiteral("values nested too deeply"));
            return QVariant();
        }
        QString text;
        for (;;) {
            switch (m_xml.readNext()) {
            case QXmlStreamReader::StartElement: {
                const QVariant result = readTyped(depth);
                skipRestOfElement();
                return result;
            }
            case QXmlStreamReader::EndElement:
                return QVariant(text);
            case QXmlStreamReader::Characters:
                text += m_xml.text();
                if (!m_xml.isWhitespace() || m_xml.isCDATA()) {
                    // Text first: the value is a string of everything inside it.
                    appendTextToEnd(text);
                    return QVariant(text);
                }
                break;
            case QXmlStreamReader::Invalid:
            case QXmlStreamReader::EndDocument:
                return QVariant();
            default:
                break;
            }
        }
    }

    // At the start of the typed element inside a value; returns at its end.
    QVariant readTyped(int depth)
    {
        const QStringView tag = m_xml.qualifiedName();
        if (isTag(tag, "string"))
            return QVariant(elementText());
        if (isTag(tag, "int"))
            return QVariant(elementText().toInt(nullptr, 10));
        if (isTag(tag, "double"))
            return QVariant(elementText().toDouble());
        if (isTag(tag, "boolean")) {
            const QString text = elementText();
            return QVariant(text.toLower() == QLatin1String("true") || text == QLatin1String("1"));
        }
        if (isTag(tag, "base64"))
            return QVariant(QByteArray::fromBase64(elementText().toLatin1()));
        if (isTag(tag, "datetime") || isTag(tag, "datetime.iso8601"))
            return QVariant(QDateTime::fromString(elementText(), Qt::ISODate));
        if (isTag(tag, "array"))
            return readArray(depth);
        if (isTag(tag, "map"))
            return readMap(depth);

        qWarning().noquote().nospace() << "Cannot convert unknown type \"" << tag.toString() << '"';
        m_xml.skipCurrentElement();
        return QVariant();
    }

    QVariant readArray(int depth)
    {
        QVariantList list;
        if (nextChildElement()) { // "data"
            while (nextChildElement())
                list.append(readValue(depth + 1));
            skipRestOfElement();
        }
        return list;
    }

    QVariant readMap(int depth)
    {
        QVariantMap map;
        while (nextChildElement()) // each "member"
            readMember(depth, map);
        return map;
    }

    // The member's key and value are its first descendants named "name" and "value".
    void readMember(int depth, QVariantMap &map)
    {
        QString key;
        QVariant value;
        bool haveKey = false;
        bool haveValue = false;
        int level = 0;
        for (;;) {
            switch (m_xml.readNext()) {
            case QXmlStreamReader::StartElement:
                if (!haveKey && isName("name")) {
                    key = elementText();
                    haveKey = true;
                } else if (!haveValue && isName("value")) {
                    value = readValue(depth + 1);
                    haveValue = true;
                } else {
                    ++level;
                }
                break;
            case QXmlStreamReader::EndElement:
                if (level == 0) {
                    map.insert(key, haveValue ? value : QVariant(QString()));
                    return;
                }
                --level;
                break;
            case QXmlStreamReader::Invalid:
            case QXmlStreamReader::EndDocument:
                return;
            default:
                break;
            }
        }
    }

    QXmlStreamReader m_xml;
};

bool isEntity(const QChar *begin, int length, QChar &decoded)
{
    const QStringView entity(begin, length);
    if (entity == QLatin1String("&lt;"))
        decoded = QLatin1Char('<');
    else if (entity == QLatin1String("&gt;"))
        decoded = QLatin1Char('>');
    else if (entity == QLatin1String("&amp;"))
        decoded = QLatin1Char('&');
    else if (entity == QLatin1String("&quot;"))
        decoded = QLatin1Char('"');
    else if (entity == QLatin1String("&apos;"))
        decoded = QLatin1Char('\'');
    else
        return false;
    return true;
}

} // namespace

QString CVariantUtil::variantToXMLFragment(const CXMLSerializeInfo &info, const QVariant &value)
{
    QString xml;
    writeValue(info, value, xml);
    return escape(xml);
}

QVariant CVariantUtil::variantFromXMLFragment(const QString &fragment)
{
    FragmentReader reader(deEscape(fragment));
    return reader.readDocument();
}

QString CVariantUtil::escape(const QString &text)
{
    QString result;
    result.reserve(text.size() + text.size() / 4 + 16);
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '<':
            result += QLatin1String("&lt;");
            break;
        case '>':
            result += QLatin1String("&gt;");
            break;
        case '&':
            result += QLatin1String("&amp;");
            break;
        case '"':
            result += QLatin1String("&quot;");
            break;
        case '\'':
            result += QLatin1String("&apos;");
            break;
        default:
            result += c;
            break;
        }
    }
    return result;
}

QString CVariantUtil::deEscape(const QString &text)
{
    // Walks from the last character to the first, so each entity is decoded exactly
    // once: "&amp;lt;" gives "&lt;". The result is filled from its end.
    const int size = text.size();
    const QChar *in = text.constData();
    QString result(size, Qt::Uninitialized);
    QChar *out = result.data();
    int write = size;
    int semicolon = -1; // position in text of the most recent ';' seen
    for (int i = size - 1; i >= 0; --i) {
        const QChar c = in[i];
        if (c == QLatin1Char(';')) {
            semicolon = i;
        } else if (c == QLatin1Char('&') && semicolon > i) {
            QChar decoded;
            const int length = semicolon - i + 1;
            if (length <= 6 && isEntity(in + i, length, decoded)) {
                // The entity's tail is already written: take it back.
                write += length - 1;
                out[--write] = decoded;
                semicolon = -1;
                continue;
            }
        }
        out[--write] = c;
    }
    return result.mid(write);
}
