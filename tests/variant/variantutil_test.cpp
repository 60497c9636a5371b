#include <libutility/variant/variantutil.h>

#include "support/printers.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

QString rawFragment(const QVariant &value, const CXMLSerializeInfo &info = {})
{
    return CVariantUtil::deEscape(CVariantUtil::variantToXMLFragment(info, value));
}

QVariant nestedLists(int depth)
{
    return depth > 1 ? QVariant(QVariantList { nestedLists(depth - 1) }) : QVariant(1);
}

// Reads a JSON list of value elements and answers with the list of its own, the last
// one for a string full of markup.
const char *const kPeer = R"(
import json, sys, xmlrpc.client as rpc
def read(xml):
    for a, b in (("map>", "struct>"), ("<boolean>true<", "<boolean>1<"), ("<boolean>false<", "<boolean>0<")):
        xml = xml.replace(a, b)
    return rpc.loads("<methodResponse><params><param>" + xml + "</param></params></methodResponse>")[0][0]
def value(v):
    xml = rpc.dumps((v,), methodresponse=True).replace("struct>", "map>")
    return xml[xml.index("<value>"):xml.rindex("</value>") + 8]
print(json.dumps([value(read(xml)) for xml in json.loads(sys.stdin.buffer.read())] + [value("a < b & c")]))
)";

} // namespace

// The exact text of each type, and the entity coding of the whole fragment.
TEST(VariantFragment, WritesTheExactTextOfEachTypeEscaped)
{
    const struct
    {
        QVariant value;
        const char *xml;
    } cases[] = {
        { 42, "<value><int>42</int></value>" },
        { 3.14159265, "<value><double>3.14159</double></value>" },
        { false, "<value><boolean>false</boolean></value>" },
        { QByteArray("hi\0x", 4), "<value><base64>aGkAeA==</base64></value>" },
        { QDateTime(QDate(2024, 5, 1), QTime(12, 30, 5), Qt::UTC),
            "<value><datetime.iso8601>2024-05-01T12:30:05Z</datetime.iso8601></value>" },
        { QVariantList {}, "<value><array><data></data></array></value>" },
        { QVariantMap {}, "<value><map></map></value>" },
        { QVariantMap { { "b", 1 }, { "a", "x" } },
            "<value><map><member><name>a</name><value><string>x</string></value></member>"
            "<member><name>b</name><value><int>1</int></value></member></map></value>" },
        { QVariantList { 1, QStringList { "s" }, QPointF(1, 2) },
            "<value><array><data><value><int>1</int></value><value/><value/></data></array></"
            "value>" },
        // Markup in a string is written raw inside the escaped fragment (see the reader).
        { "a < b & c", "<value><string>a < b & c</string></value>" },
    };
    static QStringList warnings; // what the code under test says on Qt's warning channel
    const QtMessageHandler previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &text) { warnings << text; });
    for (const auto &c : cases)
        EXPECT_EQ(CVariantUtil::variantToXMLFragment({}, c.value), CVariantUtil::escape(c.xml));
    qInstallMessageHandler(previous);
    const QString unknown = "Failed to convert unknown variant type: QVariant::";
    EXPECT_EQ(warnings, QStringList({ unknown + "QStringList", unknown + "QPointF" }));

    EXPECT_EQ(CVariantUtil::escape(QString::fromUtf8("<a & 'b' \"c\"> é\x01")),
        QString::fromUtf8("&lt;a &amp; &apos;b&apos; &quot;c&quot;&gt; é\x01"));
    const struct
    {
        const char *in, *out;
    } entities[] = {
        { "&lt;&gt;&amp;&quot;&apos;", "<>&\"'" },
        { "&amp;lt;", "&lt;" },
        { "&&lt;;", "&<;" },
        { "&lt &#60;&nbsp;&LT;", "&lt &#60;&nbsp;&LT;" },
        { "&amp&lt;", "&amp<" },
    };
    for (const auto &e : entities)
        EXPECT_EQ(CVariantUtil::deEscape(e.in), QString(e.out)) << e.in;
}

// Rows that expect an invalid value are refused: malformed, hostile or too deep text.
TEST(VariantReader, ReadsEachFormAsDocumentedAndRefusesTheRest)
{
    // A thousand million characters from three nested entities.
    const QString laughs = "<!DOCTYPE v [<!ENTITY a \"" + QString("x").repeated(1000)
        + "\"><!ENTITY b \"" + QString("&a;").repeated(1000) + "\"><!ENTITY c \""
        + QString("&b;").repeated(1000) + "\">]><value>&c;</value>";
    const int limit = CVariantUtil::MAX_NESTING_DEPTH, deep = 100000;
    const struct
    {
        QString xml;
        QVariant expected;
    } cases[] = {
        { "<value>plain</value>", "plain" },
        { "<value/>", QString() },
        { "<value><BOOLEAN>1</BOOLEAN></value>", true },
        { "<value><boolean> 1</boolean></value>", false },
        { "<value><datetime>2024-05-01T12:30:05</datetime></value>",
            QDateTime(QDate(2024, 5, 1), QTime(12, 30, 5)) },
        { "<value>ab<int>1</int>cd</value>", "ab1cd" },
        { "<x:any><int>5</int></x:any>", 5 }, // the root's name, prefix and all, is free
        { "<!DOCTYPE v [<!ENTITY x SYSTEM \"file:///etc/passwd\">]><value>a&x;b</value>", "ab" },
        // Unknown elements stand for an invalid value; extra elements in a value are skipped.
        { "<value><array>\n <data>\n  <value><Foo>2</Foo></value>\n  <value><int>1</int><i>9</i>"
          "</value>\n  <value>b</value>\n </data>\n</array></value>",
            QVariantList { QVariant(), 1, "b" } },
        { "<value><map><member><name>k</name><value><int>1</int></value></member>"
          "<member><value><int>2</int></value><name>k</name></member>"
          "<member><name>novalue</name></member></map></value>",
            QVariantMap { { "k", 2 }, { "novalue", QString() } } },
        // The nesting limit is on values only: deep markup inside a string is just its text.
        { rawFragment(nestedLists(limit)), nestedLists(limit) },
        { "<value><string>" + QString("<a>").repeated(deep) + "x" + QString("</a>").repeated(deep)
                + "</string></value>",
            "x" },
        // How a string with markup comes back: deEscape hands the parser bare markup, so
        // such strings deliberately do not survive a round trip.
        { "<value><string>a < b & c</string></value>", {} },
        { "", {} },
        { "<value><int>1</value>", {} },
        { "<value/><value/>", {} },
        { laughs, {} },
        { QString("<value>") + QChar(1) + "</value>", {} },
        { rawFragment(nestedLists(limit + 1)), {} },
        { QString("<value><array><data>").repeated(deep), {} },
    };
    for (const auto &c : cases) {
        const QVariant read = CVariantUtil::variantFromXMLFragment(CVariantUtil::escape(c.xml));
        EXPECT_EQ(read.userType(), c.expected.userType()) << c.xml.left(80).toStdString();
        EXPECT_EQ(read, c.expected) << c.xml.left(80).toStdString();
    }
}

// A string naming a real file, written with real resource directories on disk.
TEST(VariantResourceFile, IsCopiedOnceWithFullPermissionsAndReferencedAfterItsPath)
{
    QTemporaryDir tmp;
    ASSERT_TRUE(QDir(tmp.path()).mkpath("doc/res"));
    const QString name = QFileInfo(tmp.path()).fileName() + ".png", source = tmp.filePath(name);
    for (const char *data : { "new", "old" }) {
        QFile file(source), copy(tmp.filePath("doc/res/" + name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(data) == 3);
        file.close();
        EXPECT_EQ(rawFragment(source, { "doc.ink", tmp.filePath("doc"), "res" }),
            "<value><string>" + source + "/resources/" + name + "</string></value>");
        EXPECT_TRUE(copy.open(QIODevice::ReadOnly) && copy.readAll() == "new")
            << "an existing copy is never overwritten";
        // Read, write and execute for owner (also the user here), group and others.
        EXPECT_EQ(int(copy.permissions()), 0x7777);
    }
    rawFragment(source); // without a root directory nothing lands in the file system root
    EXPECT_FALSE(QFile::exists("/" + name));
}

// Python's xmlrpc.client as an independent reader and writer of the value vocabulary:
// it reads each of our fragments and writes the value it understood back; we must read
// that as the value we wrote. It says "struct" where we say "map", and it accepts only 0
// and 1 as boolean text; the peer script translates exactly those.
TEST(VariantPeer, PythonReadsOurFragmentsAndWritesThemBackReadably)
{
    const QVariant values[]
        = { 0, -2147483647 - 1, 2147483647, 2.5, -0.125, 1e20, true, false, QString(), "  \n ",
              QString::fromUtf8("ünïcode € \" ' >"), QByteArray("\0\x01\xfe\xff bytes", 10),
              QVariantList { 1, "a", QVariantList {}, QVariantMap {} },
              QVariantMap { { "k", QVariantList { true, 2.5 } },
                  { "", QVariantMap { { "x", QByteArray("y") } } } } };
    QStringList ours;
    for (const QVariant &value : values)
        ours << rawFragment(value);

    QProcess python;
    python.start("python3", { "-c", kPeer });
    python.write(QJsonDocument(QJsonArray::fromStringList(ours)).toJson());
    python.closeWriteChannel();
    ASSERT_TRUE(python.waitForFinished(60000) && python.exitCode() == 0)
        << python.readAllStandardError().constData();
    const QJsonArray answers = QJsonDocument::fromJson(python.readAllStandardOutput()).array();
    ASSERT_EQ(answers.size(), ours.size() + 1);

    for (int i = 0; i < answers.size(); ++i) {
        const QString xml = answers[i].toString();
        // Python escapes markup inside strings, so such strings survive this direction.
        const QVariant expected = i < ours.size() ? values[i] : QVariant("a < b & c");
        EXPECT_EQ(CVariantUtil::variantFromXMLFragment(CVariantUtil::escape(xml)), expected)
            << "ours: " << ours.value(i).toStdString() << "\nPython's: " << xml.toStdString();
    }
}
