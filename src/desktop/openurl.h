/**
 * \file
 * Opening a web address, a local file or a local program the way the running desktop
 * expects it.
 */
#ifndef LIBUTILITY_DESKTOP_OPENURL_H
#define LIBUTILITY_DESKTOP_OPENURL_H

#include <libutility/utility_export.h>

#include <QString>

/**
 * Opens url, deciding in this order:
 *  1. On a KDE desktop (COsUtil::getDesktopEnvironment() == 1) the external program
 *     "openurl_externalfile", looked up on PATH, is started detached with url as its
 *     only argument; nothing else is done.
 *  2. A url starting with "http://" or "https://" (exactly so, lower case) goes to
 *     QDesktopServices::openUrl. "HTTP://..." is not a web address here.
 *  3. Anything else is a local path. When it starts with "file://", every "file://" in
 *     it is removed.
 *  4. An executable regular file that is not a symbolic link is started detached, with
 *     no arguments, by its absolute path (spaces in the path are fine; a relative path
 *     is resolved against the current directory, never looked up on PATH).
 *  5. Everything else, a symbolic link to a program included, is handed to
 *     QDesktopServices::openUrl as a local file URL.
 * Nothing is reported: whether the program started or the desktop opened the URL is
 * not known to the caller.
 * \param url a web address, a file URL or a local path
 */
UTILITY_EXPORT void openURL(const QString &url);

#endif
