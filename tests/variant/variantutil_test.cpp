#include <libutility/variant/variantutil.h>

#include "support/printers.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

QString rawFragment(const QVariant &value, const CXMLSerializeInfo &info = {})
{
    return CVariantUtil::deEscape(CVariantUtil::variantToXMLFragment(info, value));
}

QVariant readRaw(const QString &xml)
{
    return CVariantUtil::variantFromXMLFragment(CVariantUtil::escape(xml));
}

// What the code under test says on Qt's warning channel.
QStringList g_warnings;
void collectWarning(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type == QtWarningMsg)
        g_warnings << text;
}

QVariant nestedLists(int depth)
{
    QVariant value(1);
    for (int i = 1; i < depth; ++i)
        value = QVariantList { value };
    return value;
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

} // namespace

TEST(VariantFragment, WritesTheExactTextOfEachType)
{
    EXPECT_EQ(CVariantUtil::variantToXMLFragment({}, 42),
        "&lt;value&gt;&lt;int&gt;42&lt;/int&gt;&lt;/value&gt;");
    const struct
    {
        QVariant value;
        const char *xml;
    } cases[] = {
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
        { QVariantList { 1, QStringList { "s" }, QVariant(qlonglong(5)) },
            "<value><array><data><value><int>1</int></value><value/><value/></data></array></"
            "value>" },
        { QVariant(), "<value/>" },
    };
    for (const auto &c : cases)
        EXPECT_EQ(rawFragment(c.value), QString(c.xml));

    const QtMessageHandler previous = qInstallMessageHandler(collectWarning);
    EXPECT_EQ(readRaw(rawFragment(QStringList())), QVariant(QString()));
    rawFragment(QVariant(QPointF(1, 2)));
    rawFragment(QVariant());
    EXPECT_EQ(readRaw("<value><array><data><value><int>1</int></value>"
                      "<value><Foo>2</Foo></value></data></array></value>"),
        QVariant(QVariantList { 1, QVariant() }));
    qInstallMessageHandler(previous);
    EXPECT_EQ(g_warnings,
        QStringList({ "Failed to convert unknown variant type: QVariant::QStringList",
            "Failed to convert unknown variant type: QVariant::QPointF",
            "Failed to convert unknown variant type: QVariant::Invalid",
            "Cannot convert unknown type \"Foo\"" }));
}

TEST(VariantEscape, EncodesFiveCharactersAndDecodesEachEntityOnce)
{
    EXPECT_EQ(CVariantUtil::escape(QString::fromUtf8("<a & 'b' \"c\"> é\x01")),
        QString::fromUtf8("&lt;a &amp; &apos;b&apos; &quot;c&quot;&gt; é\x01"));
    const struct
    {
        const char *in, *out;
    } cases[] = {
        { "&lt;&gt;&amp;&quot;&apos;", "<>&\"'" },
        { "&amp;lt;", "&lt;" },
        { "&&lt;;", "&<;" },
        { "&lt &#60;&nbsp;&LT;", "&lt &#60;&nbsp;&LT;" },
        { "&amp&lt;", "&amp<" },
    };
    for (const auto &c : cases)
        EXPECT_EQ(CVariantUtil::deEscape(c.in), QString(c.out)) << c.in;
}

TEST(VariantReader, ReadsEachFormAsDocumented)
{
    const struct
    {
        const char *xml;
        QVariant expected;
    } cases[] = {
        { "<value>plain</value>", "plain" },
        { "<value><BOOLEAN>1</BOOLEAN></value>", true },
        { "<value><boolean>TrUe</boolean></value>", true },
        { "<value><boolean> 1</boolean></value>", false },
        { "<value><datetime>2024-05-01T12:30:05</datetime></value>",
            QDateTime(QDate(2024, 5, 1), QTime(12, 30, 5)) },
        { "<value>ab<int>1</int>cd</value>", "ab1cd" },
        { "<anything><int>5</int></anything>", 5 },
        { "<value><int>4x2</int></value>", 0 },
        { "<!DOCTYPE v [<!ENTITY x SYSTEM \"file:///etc/passwd\">]><value>a&x;b</value>", "ab" },
        { "<value><array>\n <data>\n  <value><int>1</int></value>\n  <value>b</value>\n </data>\n"
          "</array></value>",
            QVariantList { 1, "b" } },
        { "<value><map><member><name>k</name><value><int>1</int></value></member>"
          "<member><value><int>2</int></value><name>k</name></member>"
          "<member><name>novalue</name></member></map></value>",
            QVariantMap { { "k", 2 }, { "novalue", QString() } } },
    };
    for (const auto &c : cases) {
        const QVariant read = readRaw(c.xml);
        EXPECT_EQ(read.userType(), c.expected.userType()) << c.xml;
        EXPECT_EQ(read, c.expected) << c.xml;
    }
}

TEST(VariantReader, RefusesMalformedHostileOrTooDeepText)
{
    QString laughs = "<!DOCTYPE v [<!ENTITY e0 \"aaaaaaaaaa\">";
    for (int i = 1; i < 8; ++i)
        laughs
            += QString("<!ENTITY e%1 \"%2\">").arg(i).arg(QString("&e%1;").arg(i - 1).repeated(10));
    const int limit = CVariantUtil::MAX_NESTING_DEPTH, deep = 100000;
    const QString cases[] = { "", "no markup", "<value><int>1</value>", "<value/><value/>",
        "<value><float>1</float></value>", laughs + "]><value>&e7;</value>",
        QString("<value>") + QChar(1) + "</value>", rawFragment(nestedLists(limit + 1)),
        QString("<value><array><data>").repeated(deep) };
    for (const QString &xml : cases)
        EXPECT_FALSE(readRaw(xml).isValid()) << xml.left(60).toStdString();

    // The limit is on values only: deep markup inside a string is just its text.
    EXPECT_EQ(readRaw(rawFragment(nestedLists(limit))), nestedLists(limit));
    EXPECT_EQ(readRaw("<value><string>" + QString("<a>").repeated(deep) + "x"
                  + QString("</a>").repeated(deep) + "</string></value>"),
        QVariant("x"));
}

TEST(VariantRoundTrip, KeepsNestedValuesButDeliberatelyNotMarkupInStrings)
{
    const QVariantMap leaf { { "int", -12 }, { "double", 2.5 }, { "bool", false },
        { "bytes", QByteArray("\0\xff", 2) },
        { "utc", QDateTime(QDate(1999, 12, 31), QTime(23, 59, 59), Qt::UTC) },
        { "local", QDateTime(QDate(2024, 2, 29), QTime(8, 0)) } };
    const QVariantMap tree { { "list",
                                 QVariantList { leaf, QVariantList { "two", QVariantList {} } } },
        { " ", "  " }, { "", "\n\t" }, { "text", QString::fromUtf8("\" ' > ünïcode €") } };
    const auto roundTrip = [](const QVariant &value) {
        return CVariantUtil::variantFromXMLFragment(CVariantUtil::variantToXMLFragment({}, value));
    };
    EXPECT_EQ(roundTrip(tree), QVariant(tree));
    // Written raw inside the escaped fragment: deEscape hands the parser bare markup.
    EXPECT_FALSE(roundTrip(QString("a < b")).isValid());
    EXPECT_FALSE(roundTrip(QString("fish & chips")).isValid());
    EXPECT_EQ(roundTrip(QString("&lt;")), QVariant("<"));
}

// A string naming a real file, written with real resource directories on disk.
TEST(VariantResourceFile, IsCopiedOnceWithFullPermissionsAndReferencedAfterItsPath)
{
    QTemporaryDir tmp;
    ASSERT_TRUE(QDir(tmp.path()).mkpath("doc/res") && QDir(tmp.path()).mkpath("src"));
    const QString source = tmp.filePath("src/pic.png"), absent = tmp.filePath("nofile");
    const QString copy = tmp.filePath("doc/res/pic.png");
    for (const char *data : { "new", "old" }) {
        QFile file(source);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(data) == 3);
        file.close();
        // Writes the file's path and an absent one into res (missing: fails quietly).
        for (const char *resources : { "res", "missing" }) {
            EXPECT_EQ(rawFragment(QVariantList { source, absent },
                          { "doc.ink", tmp.filePath("doc"), resources }),
                "<value><array><data><value><string>" + source
                    + "/resources/pic.png</string></value><value><string>" + absent
                    + "</string></value></data></array></value>");
        }
        EXPECT_EQ(readFile(copy), "new") << "an existing copy is never overwritten";
        struct stat st
        {
        };
        EXPECT_EQ(stat(QFile::encodeName(copy).constData(), &st), 0);
        EXPECT_EQ(st.st_mode & 07777, 0777u);
    }
    EXPECT_FALSE(QFile::exists(tmp.filePath("doc/missing")));

    // Without a root directory nothing lands in the file system root.
    const QString name = QFileInfo(tmp.path()).fileName() + ".png";
    QFile::copy(source, tmp.filePath(name));
    rawFragment(tmp.filePath(name));
    EXPECT_FALSE(QFile::exists("/" + name));
}
