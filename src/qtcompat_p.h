// Private: what differs between Qt 5 and Qt 6 for this library, its tests and its tools,
// one small inline shim each. Sources call these shims; no other file tests QT_VERSION.
// Not installed: the public headers use only what both majors have in common.
#ifndef LIBUTILITY_QTCOMPAT_P_H
#define LIBUTILITY_QTCOMPAT_P_H

#include <QDebug>
#include <QGuiApplication>
#include <QMetaType>
#include <QVariant>
#include <QtGlobal>

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
#include <QX11Info>
#endif

typedef struct _XDisplay Display;

namespace QtCompat {

// True when the application runs on the X11 (xcb) platform plugin.
inline bool isPlatformX11() { return QGuiApplication::platformName() == QLatin1String("xcb"); }

// The application's X display, null without one. Qt 6 dropped QX11Info; its native
// interface hands out the same connection. Like QX11Info::display(), this does not check
// the platform: other plugins (offscreen with GLX) may hold a display too.
inline Display *x11Display()
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->display() : nullptr;
#else
    return QX11Info::display();
#endif
}

// A variant's type as Qt 5 prints a QVariant::Type ("QVariant::QStringList",
// "QVariant::Invalid"), which log readers match on: qDebug() << QtCompat::VariantType{v}.
// Qt 6 deprecates QVariant::Type; its meta type gives the same name for every built-in
// type. A type of the application's own prints its name in Qt 6, while Qt 5 folds all
// of them into QVariant::UserType and prints the first one the process registered.
struct VariantType
{
    const QVariant &value;
};

inline QDebug operator<<(QDebug debug, VariantType type)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    const QMetaType meta = type.value.metaType();
    QDebugStateSaver saver(debug);
    debug.nospace() << "QVariant::" << (meta.isValid() ? meta.name() : "Invalid");
    return debug;
#else
    return debug << type.value.type();
#endif
}

} // namespace QtCompat

#endif
