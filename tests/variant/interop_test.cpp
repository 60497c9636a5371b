// Python's xmlrpc.client as an independent reader and writer of the value vocabulary.
// It says "struct" where we say "map" and "dateTime.iso8601" for "datetime.iso8601",
// and it accepts only 0 and 1 as boolean text; the tests translate exactly those.
#include <libutility/variant/variantutil.h>

#include "support/printers.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>

#include <gtest/gtest.h>

namespace {

// Values travel between the two sides as JSON, doubles and bytes tagged so that their
// types survive.
const char *const kPeer = R"(
import base64, json, sys, xmlrpc.client as rpc
def to_json(v):
    if isinstance(v, (bool, int, str)): return v
    if isinstance(v, float): return {"$double": v}
    if isinstance(v, rpc.Binary): return {"$bytes": v.data.hex()}
    if isinstance(v, list): return [to_json(i) for i in v]
    if isinstance(v, dict): return {k: to_json(i) for k, i in v.items()}
    raise TypeError(type(v))
def from_json(v):
    if isinstance(v, dict) and "$double" in v: return float(v["$double"])
    if isinstance(v, dict) and "$bytes" in v: return rpc.Binary(bytes.fromhex(v["$bytes"]))
    if isinstance(v, dict): return {k: from_json(i) for k, i in v.items()}
    if isinstance(v, list): return [from_json(i) for i in v]
    return v
text = sys.stdin.read()
if sys.argv[1] == "read":
    params, _ = rpc.loads("<?xml version='1.0'?><methodResponse><params><param>" + text
                          + "</param></params></methodResponse>")
    print(json.dumps(to_json(params[0])))
else:
    print(rpc.dumps((from_json(json.loads(text)[0]),), methodresponse=True))
)";

QJsonValue toJson(const QVariant &value)
{
    switch (value.type()) {
    case QVariant::Double:
        return QJsonObject { { "$double", value.toDouble() } };
    case QVariant::ByteArray:
        return QJsonObject { { "$bytes", QString::fromLatin1(value.toByteArray().toHex()) } };
    case QVariant::List: {
        QJsonArray array;
        for (const QVariant &item : value.toList())
            array.append(toJson(item));
        return array;
    }
    case QVariant::Map: {
        QJsonObject object;
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            object.insert(it.key(), toJson(it.value()));
        return object;
    }
    default:
        return QJsonValue::fromVariant(value);
    }
}

// Runs the peer; empty on failure (reported as a test failure).
QByteArray runPeer(const char *mode, const QByteArray &input)
{
    QProcess python;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("PYTHONIOENCODING", "utf-8");
    python.setProcessEnvironment(environment);
    python.start("python3", { "-c", kPeer, mode });
    python.write(input);
    python.closeWriteChannel();
    const bool finished = python.waitForFinished(60000);
    EXPECT_TRUE(finished && python.exitCode() == 0) << python.readAllStandardError().constData();
    return python.readAllStandardOutput();
}

class VariantPeer : public ::testing::TestWithParam<QVariant>
{
protected:
    void SetUp() override
    {
        if (QStandardPaths::findExecutable("python3").isEmpty())
            GTEST_SKIP() << "python3 is not installed";
    }
};

TEST_P(VariantPeer, PythonReadsOurFragments)
{
    QString xml = CVariantUtil::deEscape(
        CVariantUtil::variantToXMLFragment(CXMLSerializeInfo {}, GetParam()));
    xml.replace("<map>", "<struct>").replace("</map>", "</struct>");
    xml.replace("datetime.iso8601>", "dateTime.iso8601>");
    xml.replace("<boolean>true<", "<boolean>1<").replace("<boolean>false<", "<boolean>0<");
    const QByteArray json = runPeer("read", xml.toUtf8());
    EXPECT_EQ(QJsonDocument::fromJson("[" + json + "]").array().at(0), toJson(GetParam()))
        << xml.toStdString();
}

// The value element Python writes for a JSON value, in our tag names.
QString pythonsValue(const QJsonValue &value)
{
    QString xml = QString::fromUtf8(runPeer("write", QJsonDocument(QJsonArray { value }).toJson()));
    xml = xml.mid(xml.indexOf("<value>"));
    xml.truncate(xml.lastIndexOf("</value>") + 8);
    xml.replace("<struct>", "<map>").replace("</struct>", "</map>");
    return xml.replace("dateTime.iso8601>", "datetime.iso8601>");
}

TEST_P(VariantPeer, WeReadPythonsFragments)
{
    const QString xml = pythonsValue(toJson(GetParam()));
    EXPECT_EQ(CVariantUtil::variantFromXMLFragment(CVariantUtil::escape(xml)), GetParam())
        << xml.toStdString();
}

// Python escapes markup inside strings, so such strings survive this direction.
TEST_F(VariantPeer, PythonsEscapedMarkupSurvivesOurReader)
{
    const QString xml = pythonsValue("a < b & c");
    EXPECT_EQ(
        CVariantUtil::variantFromXMLFragment(CVariantUtil::escape(xml)), QVariant("a < b & c"));
}

INSTANTIATE_TEST_SUITE_P(Values, VariantPeer,
    ::testing::Values(QVariant(0), QVariant(-2147483647 - 1), QVariant(2147483647), QVariant(2.5),
        QVariant(-0.125), QVariant(1e20), QVariant(true), QVariant(false), QVariant(QString()),
        QVariant("  \n "), QVariant(QString::fromUtf8("ünïcode € \" ' >")),
        QVariant(QByteArray("\0\x01\xfe\xff bytes", 10)),
        QVariant(QVariantList { 1, "a", QVariantList {}, QVariantMap {} }),
        QVariant(QVariantMap { { "k", QVariantList { true, 2.5 } },
            { "", QVariantMap { { "x", QByteArray("y") } } } })),
    [](const ::testing::TestParamInfo<QVariant> &info) {
        return std::to_string(info.index) + "_" + info.param.typeName();
    });

} // namespace
