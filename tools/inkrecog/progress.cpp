#include "progress.h"

#include <QByteArray>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace {
constexpr qint64 kDelayMs = 1000;
constexpr qint64 kIntervalMs = 100;
constexpr int kBarWidth = 24;
} // namespace

Progress::Progress(qint64 totalBytes, bool enabled)
    : m_total(totalBytes)
    , m_enabled(enabled)
{
    m_clock.start();
}

Progress::~Progress() { clear(); }

bool Progress::stderrIsTerminal() { return isatty(fileno(stderr)) == 1; }

void Progress::setBytes(qint64 bytes)
{
    m_bytes = bytes;
    update();
}

void Progress::addScribble()
{
    ++m_scribbles;
    update();
}

void Progress::clear()
{
    if (!m_shown)
        return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    m_shown = false;
    m_lastDraw = -1000;
}

void Progress::update()
{
    if (!m_enabled)
        return;
    const qint64 now = m_clock.elapsed();
    if (now < kDelayMs || now - m_lastDraw < kIntervalMs)
        return;
    m_lastDraw = now;
    QByteArray line = "\r";
    if (m_total > 0) {
        const double share = std::min(1.0, double(m_bytes) / double(m_total));
        const int filled = int(share * kBarWidth);
        line += '[' + QByteArray(filled, '#') + QByteArray(kBarWidth - filled, '.') + "] ";
        line += QByteArray::number(int(share * 100)).rightJustified(3) + "%  ";
    }
    const double rate = now > 0 ? m_scribbles * 1000.0 / now : 0.0;
    line += QByteArray::number(m_scribbles) + " scribbles  " + QByteArray::number(rate, 'f', 0)
        + "/s\033[K";
    std::fputs(line.constData(), stderr);
    std::fflush(stderr);
    m_shown = true;
}
