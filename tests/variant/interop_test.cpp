// Python's xmlrpc.client as an independent reader and writer of the value vocabulary:
// it reads each of our fragments and writes the value it understood back; we must read
// that as the value we wrote. It says "struct" where we say "map" and
// "dateTime.iso8601" for "datetime.iso8601", and it accepts only 0 and 1 as boolean
// text; the test translates exactly those.
#include <libutility/variant/variantutil.h>

#include "support/printers.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QStandardPaths>

#include <gtest/gtest.h>

namespace {

// Reads a JSON list of value elements and answers with the list of its own, the last
// one for a string full of markup.
const char *const kPeer = R"(
import json, sys, xmlrpc.client as rpc
def value(v): return rpc.dumps((v,), methodresponse=True)
def read(xml): return rpc.loads("<methodResponse><params><param>" + xml + "</param></params></methodResponse>")[0][0]
print(json.dumps([value(read(xml)) for xml in json.load(sys.stdin)] + [value("a < b & c")]))
)";

QString swap(QString xml, bool toPython)
{
    const char *pairs[][2] = { { "<map>", "<struct>" }, { "</map>", "</struct>" },
        { "datetime.iso8601>", "dateTime.iso8601>" }, { "<boolean>true<", "<boolean>1<" },
        { "<boolean>false<", "<boolean>0<" } };
    for (const auto &pair : pairs)
        xml.replace(pair[toPython ? 0 : 1], pair[toPython ? 1 : 0]);
    return xml;
}

TEST(VariantPeer, PythonReadsOurFragmentsAndWritesThemBackReadably)
{
    if (QStandardPaths::findExecutable("python3").isEmpty())
        GTEST_SKIP() << "python3 is not installed";
    const QVariant values[]
        = { 0, -2147483647 - 1, 2147483647, 2.5, -0.125, 1e20, true, false, QString(), "  \n ",
              QString::fromUtf8("ünïcode € \" ' >"), QByteArray("\0\x01\xfe\xff bytes", 10),
              QVariantList { 1, "a", QVariantList {}, QVariantMap {} },
              QVariantMap { { "k", QVariantList { true, 2.5 } },
                  { "", QVariantMap { { "x", QByteArray("y") } } } } };
    QStringList ours;
    for (const QVariant &value : values)
        ours << swap(CVariantUtil::deEscape(CVariantUtil::variantToXMLFragment({}, value)), true);

    QProcess python;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("PYTHONIOENCODING", "utf-8");
    python.setProcessEnvironment(environment);
    python.start("python3", { "-c", kPeer });
    python.write(QJsonDocument(QJsonArray::fromStringList(ours)).toJson());
    python.closeWriteChannel();
    ASSERT_TRUE(python.waitForFinished(60000) && python.exitCode() == 0)
        << python.readAllStandardError().constData();
    const QJsonArray answers = QJsonDocument::fromJson(python.readAllStandardOutput()).array();
    ASSERT_EQ(answers.size(), ours.size() + 1);

    for (int i = 0; i < answers.size(); ++i) {
        QString xml = answers[i].toString();
        xml = swap(xml.mid(xml.indexOf("<value>")), false);
        xml.truncate(xml.lastIndexOf("</value>") + 8);
        // Python escapes markup inside strings, so such strings survive this direction.
        const QVariant expected = i < ours.size() ? values[i] : QVariant("a < b & c");
        EXPECT_EQ(CVariantUtil::variantFromXMLFragment(CVariantUtil::escape(xml)), expected)
            << "ours: " << ours.value(i).toStdString() << "\nPython's: " << xml.toStdString();
    }
}

} // namespace
