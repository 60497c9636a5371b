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

const CXMLSerializeInfo kNoResources {};

QString rawFragment(const QVariant &value)
{
    return CVariantUtil::deEscape(CVariantUtil::variantToXMLFragment(kNoResources, value));
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

} // namespace

TEST(VariantFragment, WritesTheExactTextOfEachType)
{
    EXPECT_EQ(CVariantUtil::variantToXMLFragment(kNoResources, 42),
        "&lt;value&gt;&lt;int&gt;42&lt;/int&gt;&lt;/value&gt;");
    const struct
    {
        QVariant value;
        const char *xml;
    } cases[] = {
        { 3.14159265, "<value><double>3.14159</double></value>" },
        { 1e20, "<value><double>1e+20</double></value>" },
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
    for (const auto &c : cases) {
        SCOPED_TRACE(c.xml);
        EXPECT_EQ(rawFragment(c.value), QString(c.xml));
    }
}

TEST(VariantFragment, WarnsOnQtsChannelAboutUnknownTypes)
{
    const QtMessageHandler previous = qInstallMessageHandler(collectWarning);
    rawFragment(QStringList());
    EXPECT_EQ(readRaw("<value><array><data><value><int>1</int></value>"
                      "<value><Foo>2</Foo></value></data></array></value>"),
        QVariant(QVariantList { 1, QVariant() }));
    qInstallMessageHandler(previous);
    EXPECT_EQ(g_warnings,
        QStringList({ "Failed to convert unknown variant type: QVariant::QStringList",
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
    for (const auto &c : cases) {
        SCOPED_TRACE(c.in);
        EXPECT_EQ(CVariantUtil::deEscape(c.in), QString(c.out));
    }
}

TEST(VariantReader, ReadsEachFormAsDocumented)
{
    const QDateTime local(QDate(2024, 5, 1), QTime(12, 30, 5));
    const struct
    {
        const char *xml;
        QVariant expected;
    } cases[] = {
        { "<value>plain</value>", "plain" },
        { "<value><BOOLEAN>1</BOOLEAN></value>", true },
        { "<value><boolean>TrUe</boolean></value>", true },
        { "<value><boolean> 1</boolean></value>", false },
        { "<value><Int>7</Int></value>", 7 },
        { "<value><int>seven</int></value>", 0 },
        { "<value><datetime>2024-05-01T12:30:05</datetime></value>", local },
        { "<value><datetime>not a date</datetime></value>", QDateTime() },
        { "<value/>", QString() },
        { "<value>   </value>", "   " },
        { "<value><string> \n\t</string></value>", " \n\t" },
        { "<value><string><![CDATA[<&>]]></string></value>", "<&>" },
        { "<value>ab<int>1</int>cd</value>", "ab1cd" },
        { "<value> <!-- note --> <int>3</int> <int>4</int></value>", 3 },
        { "<anything><int>5</int></anything>", 5 },
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
        SCOPED_TRACE(c.xml);
        const QVariant read = readRaw(c.xml);
        EXPECT_EQ(read.type(), c.expected.type());
        EXPECT_EQ(read, c.expected);
    }
}

TEST(VariantReader, RefusesMalformedOrHostileText)
{
    QString laughs = "<!DOCTYPE v [<!ENTITY e0 \"aaaaaaaaaa\">";
    for (int i = 1; i < 8; ++i)
        laughs
            += QString("<!ENTITY e%1 \"%2\">").arg(i).arg(QString("&e%1;").arg(i - 1).repeated(10));
    laughs += "]><value>&e7;</value>";
    const QString cases[] = {
        "",
        "no markup",
        "<value><int>1</value>",
        "<value/><value/>",
        laughs,
        QString("<value>") + QChar(1) + "</value>",
    };
    for (const QString &xml : cases) {
        SCOPED_TRACE(xml.left(60).toStdString());
        EXPECT_FALSE(readRaw(xml).isValid());
    }
}

TEST(VariantReader, LimitsTheNestingOfValuesButNotOfOtherElements)
{
    const int limit = CVariantUtil::MAX_NESTING_DEPTH;
    EXPECT_EQ(readRaw(rawFragment(nestedLists(limit))), nestedLists(limit));
    EXPECT_FALSE(readRaw(rawFragment(nestedLists(limit + 1))).isValid());

    const int deep = 100000; // far beyond what a recursive parser survives
    EXPECT_FALSE(readRaw(QString("<value><array><data>").repeated(deep)).isValid());
    const QString deepText = "<value><string>" + QString("<a>").repeated(deep) + "x"
        + QString("</a>").repeated(deep) + "</string></value>";
    EXPECT_EQ(readRaw(deepText), QVariant("x"));
}

TEST(VariantRoundTrip, KeepsNestedValuesOfEverySupportedType)
{
    const QVariantMap leaf { { "int", -12 }, { "double", 2.5 }, { "bool", false },
        { "bytes", QByteArray("\0\xff", 2) },
        { "utc", QDateTime(QDate(1999, 12, 31), QTime(23, 59, 59), Qt::UTC) },
        { "local", QDateTime(QDate(2024, 2, 29), QTime(8, 0)) } };
    const QVariantMap tree { { "list",
                                 QVariantList { leaf, QVariantList { "two", QVariantList {} } } },
        { " ", "  " }, { "", "\n\t" }, { "text", QString::fromUtf8("\" ' > ünïcode €") } };
    EXPECT_EQ(CVariantUtil::variantFromXMLFragment(
                  CVariantUtil::variantToXMLFragment(kNoResources, tree)),
        QVariant(tree));
}

TEST(VariantRoundTrip, StringsWithMarkupCharactersDeliberatelyDoNotSurvive)
{
    // Written raw inside the escaped fragment: deEscape hands the parser bare markup.
    for (const char *text : { "a < b", "fish & chips" }) {
        SCOPED_TRACE(text);
        const QString fragment = CVariantUtil::variantToXMLFragment(kNoResources, QString(text));
        EXPECT_FALSE(CVariantUtil::variantFromXMLFragment(fragment).isValid());
    }
    const QString entity = CVariantUtil::variantToXMLFragment(kNoResources, QString("&lt;"));
    EXPECT_EQ(CVariantUtil::variantFromXMLFragment(entity), QVariant("<"));
}

// A string naming a real file, written with real resource directories on disk.
class VariantResourceFile : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(QDir(m_tmp.path()).mkpath("doc/res") && QDir(m_tmp.path()).mkpath("src"));
        write("src/pic.png", "new");
    }
    void write(const QString &name, const QByteArray &data)
    {
        QFile file(m_tmp.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(data) == data.size());
    }
    QByteArray read(const QString &name)
    {
        QFile file(m_tmp.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
    }
    // Writes the file's path and an absent one, and checks the text written for both.
    void serialise(const char *resourceDirectory)
    {
        const QString source = m_tmp.filePath("src/pic.png"), absent = m_tmp.filePath("nofile");
        EXPECT_EQ(CVariantUtil::deEscape(CVariantUtil::variantToXMLFragment(
                      { "doc.ink", m_tmp.filePath("doc"), resourceDirectory },
                      QVariantList { source, absent })),
            "<value><array><data><value><string>" + source
                + "/resources/pic.png</string></value><value><string>" + absent
                + "</string></value></data></array></value>");
    }
    QTemporaryDir m_tmp;
};

TEST_F(VariantResourceFile, IsCopiedWithFullPermissionsAndReferencedAfterItsPath)
{
    serialise("res");
    EXPECT_EQ(read("doc/res/pic.png"), "new");
    struct stat st
    {
    };
    ASSERT_EQ(stat(QFile::encodeName(m_tmp.filePath("doc/res/pic.png")).constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0777u);
}

TEST_F(VariantResourceFile, NeverOverwritesAndFailsQuietlyWithoutTheDirectory)
{
    write("doc/res/pic.png", "old");
    serialise("res");
    EXPECT_EQ(read("doc/res/pic.png"), "old");
    serialise("missing");
    EXPECT_FALSE(QFile::exists(m_tmp.filePath("doc/missing")));
}

TEST_F(VariantResourceFile, IsNotCopiedIntoTheFileSystemRootWithoutARootDirectory)
{
    const QString name = QFileInfo(m_tmp.path()).fileName() + ".png";
    write(name, "x");
    CVariantUtil::variantToXMLFragment({}, m_tmp.filePath(name));
    EXPECT_FALSE(QFile::exists("/" + name));
}
