// GoogleTest printers for the Qt types that appear in assertions, so that failures
// read as values instead of byte dumps.
#ifndef LIBUTILITY_TESTS_SUPPORT_PRINTERS_H
#define LIBUTILITY_TESTS_SUPPORT_PRINTERS_H

#include <QByteArray>
#include <QPoint>
#include <QPointF>
#include <QRect>
#include <QRectF>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <iosfwd>

QT_BEGIN_NAMESPACE
void PrintTo(const QString &value, std::ostream *os);
void PrintTo(const QByteArray &value, std::ostream *os);
void PrintTo(const QStringList &value, std::ostream *os);
void PrintTo(const QPoint &value, std::ostream *os);
void PrintTo(const QPointF &value, std::ostream *os);
void PrintTo(const QSize &value, std::ostream *os);
void PrintTo(const QRect &value, std::ostream *os);
void PrintTo(const QRectF &value, std::ostream *os);
void PrintTo(const QVariant &value, std::ostream *os);
QT_END_NAMESPACE

#endif
