#include "support/printers.h"

#include <QDebug>

#include <ostream>

namespace {
template <class T>
std::string debugString(const T &value)
{
    QString text;
    QDebug(&text).nospace() << value;
    return text.toStdString();
}
} // namespace

QT_BEGIN_NAMESPACE
void PrintTo(const QString &value, std::ostream *os)
{
    *os << '"' << value.toStdString() << '"';
}
void PrintTo(const QByteArray &value, std::ostream *os)
{
    *os << debugString(value);
}
void PrintTo(const QStringList &value, std::ostream *os)
{
    *os << debugString(value);
}
void PrintTo(const QPoint &value, std::ostream *os)
{
    *os << '(' << value.x() << ", " << value.y() << ')';
}
void PrintTo(const QPointF &value, std::ostream *os)
{
    *os << '(' << value.x() << ", " << value.y() << ')';
}
void PrintTo(const QSize &value, std::ostream *os)
{
    *os << value.width() << 'x' << value.height();
}
void PrintTo(const QRect &value, std::ostream *os)
{
    *os << "QRect(" << value.x() << ", " << value.y() << ' ' << value.width() << 'x'
        << value.height() << ')';
}
void PrintTo(const QRectF &value, std::ostream *os)
{
    *os << "QRectF(" << value.x() << ", " << value.y() << ' ' << value.width() << 'x'
        << value.height() << ')';
}
void PrintTo(const QVariant &value, std::ostream *os)
{
    *os << debugString(value);
}
QT_END_NAMESPACE
