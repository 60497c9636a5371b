// CVariantUtil::variantFromXMLFragment on arbitrary text, then the writer on what it read.
//
// Input: the fragment as UTF-8 (escaped or raw: deEscape leaves raw XML alone).
// Invariants: a value that was read can be written, and the written fragment reads back
// to a value of the same type (values themselves may differ by the documented lossy
// rules: six significant digits, raw "<" in strings, unknown types).
#include "fuzztarget.h"

#include <libutility/variant/variantutil.h>

#include <QString>
#include <QVariant>

namespace {

int fuzzVariantXml(const uint8_t *data, size_t size)
{
    const QString fragment
        = QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QVariant value = CVariantUtil::variantFromXMLFragment(fragment);
    if (!value.isValid())
        return 0;

    // An empty root directory: string values that name existing files are written as
    // resource references without copying anything.
    const CXMLSerializeInfo info;
    const QString written = CVariantUtil::variantToXMLFragment(info, value);
    FUZZ_CHECK(!written.isEmpty());
    FUZZ_CHECK(CVariantUtil::deEscape(CVariantUtil::escape(written)) == written);
    const QVariant reread = CVariantUtil::variantFromXMLFragment(written);
    // Strings may hold "<" or "&" and then deliberately fail to read back; every other
    // type is written from its own well-formed text.
    const int type = value.userType();
    if (type != QMetaType::QString && type != QMetaType::QVariantList
        && type != QMetaType::QVariantMap)
        FUZZ_CHECK(reread.userType() == type);
    return 0;
}

} // namespace

UTILITY_FUZZ_TARGET("variant_xml", fuzzVariantXml);
