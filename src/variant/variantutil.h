/**
 * \file
 * QVariant trees to and from XML text fragments.
 *
 * The fragment uses the value vocabulary of XML-RPC: every value is a "value" element
 * holding one typed element,
 *
 *     bool        <boolean>true</boolean> / false
 *     int         <int>42</int>
 *     double      <double>3.14159</double>       (at most 6 significant digits)
 *     QString     <string>text</string>          (written raw, see below)
 *     QByteArray  <base64>...</base64>
 *     QDateTime   <datetime.iso8601>2024-05-01T12:00:00</datetime.iso8601>
 *     QVariantList <array><data><value>...</value>...</data></array>
 *     QVariantMap  <map><member><name>key</name><value>...</value></member>...</map>
 *
 * and the whole fragment is handed out entity-escaped (escape()), so that it can be
 * stored as the text or an attribute of another XML document without further quoting.
 *
 * Behaviour callers depend on, kept on purpose:
 * - Any other QVariant type (QStringList, float, qlonglong, QDate, ...) writes `<value/>`
 *   and a warning on Qt's warning channel; it reads back as an empty string.
 * - Strings are not escaped one by one. A string holding "<" or "&" therefore produces a
 *   fragment that reads back as an invalid QVariant.
 * - A string that is the path of an existing file system entry (QFileInfo::exists, so a
 *   directory counts too) is treated as a resource: the file is copied to
 *       `<info.m_rootDirectory>/<info.m_resourceDirectory>/<file name>`
 *   (never overwriting, the copy's failure is not reported, the resource directory is
 *   not created), whatever then stands at that destination gets mode 0777, and the text
 *   written is the string itself followed by "/resources/" and the file name.
 *   Our addition: with an empty m_rootDirectory no copy is attempted (the destination
 *   would otherwise land in the file system root); the text is written the same way.
 * - Reading matches the type tags case-insensitively ("BOOLEAN" is boolean), while
 *   "name" and "value" inside a map member are matched exactly. A boolean is true for
 *   "true" in any case or exactly "1". Unparsable numbers read as 0, an unparsable date
 *   as an invalid QDateTime, an unknown type tag as an invalid QVariant in that place
 *   (with a warning on Qt's warning channel).
 *
 * Reading, as designed here:
 * - The text is parsed with QXmlStreamReader straight into the QVariant (no DOM is built,
 *   no namespace processing), with the results a walk over a plain DOM parse gives,
 *   except for the whitespace rule below.
 * - Text that is not well-formed XML gives an invalid QVariant, silently. So does a
 *   document whose values (lists and maps) nest deeper than MAX_NESTING_DEPTH; the
 *   parser does not recurse on the element depth itself, so deep junk cannot exhaust
 *   the stack. Entity-expansion bombs are rejected by the parser's expansion limit, and
 *   external entities are never fetched (they contribute no text).
 * - Whitespace-only text is kept where it is content: "<value>  </value>" and
 *   "<string> </string>" read as the whitespace written. Between structural elements
 *   (around the typed element, inside "array", "data", "map" and "member") text,
 *   comments and processing instructions are ignored, so pretty-printed input from
 *   other XML-RPC writers reads the same as compact input.
 * - A "value" whose first content is text (not an element) is a string: the
 *   concatenated text of everything inside it.
 * - The children of "data" are read as values whatever their element names; the first
 *   child element of "array" is taken as its "data". A member's key is the text of its
 *   first "name" element and its value the first "value" element (a missing one reads
 *   as a null string); a later duplicate key replaces the earlier one. A "name"
 *   nested inside the member's value does not count as the member's key.
 * - Characters that XML does not allow (control characters other than tab, newline and
 *   carriage return) are not encoded by escape(), so strings holding them do not read
 *   back either; XML line-end handling turns "\r\n" in text into "\n".
 *
 * All functions are static and reentrant; none throws.
 */
#ifndef LIBUTILITY_VARIANT_VARIANTUTIL_H
#define LIBUTILITY_VARIANT_VARIANTUTIL_H

#include <libutility/utility_export.h>

#include <QString>
#include <QVariant>

/**
 * Where the resources of a serialised document live. A plain record the caller fills,
 * e.g. CXMLSerializeInfo { "/home/me/doc.ink", "/home/me", "doc_res" }.
 */
struct CXMLSerializeInfo
{
    /** The saved document's file name. Not read by the serialiser. */
    QString m_fileName;
    /** The document's root directory: resources are copied beneath it. */
    QString m_rootDirectory;
    /** Name of the resource sub-directory inside m_rootDirectory. It must exist. */
    QString m_resourceDirectory;
};

/// QVariant trees to and from XML fragments (see the file comment).
class UTILITY_EXPORT CVariantUtil
{
public:
    /** Values (lists and maps) nested deeper than this are refused by the reader. */
    static constexpr int MAX_NESTING_DEPTH = 256;

    /**
     * The escaped XML fragment of value (see the file comment for the format).
     * Copies file resources named by string values as described above.
     * \param info where file resources are copied to
     * \param value the value tree to write
     * \return the escaped fragment
     */
    static QString variantToXMLFragment(const CXMLSerializeInfo &info, const QVariant &value);

    /**
     * The value held by an escaped fragment (as variantToXMLFragment writes it). The
     * root element is read as a "value" element whatever its name. Text that is not
     * well-formed XML after deEscape(), or nests deeper than MAX_NESTING_DEPTH, gives
     * an invalid QVariant.
     * \param fragment the escaped fragment
     * \return the value tree, or an invalid QVariant
     */
    static QVariant variantFromXMLFragment(const QString &fragment);

    /**
     * Replaces < > & " ' by &lt; &gt; &amp; &quot; &apos;. Nothing else is encoded
     * (no control characters, no non-ASCII).
     * \param text any text
     * \return the text with the five characters replaced
     */
    static QString escape(const QString &text);

    /**
     * Decodes the five entities written by escape(), each occurrence once: "&amp;lt;"
     * becomes "&lt;", not "<". Any other entity, numeric ones included, stays as it is.
     * \param text escaped text
     * \return the text with the five entities decoded
     */
    static QString deEscape(const QString &text);
};

#endif
