#include "tools/arkctl/ProgressBar.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include <unistd.h>

namespace {
constexpr int kBarWidth = 30;
constexpr qint64 kRedrawMs = 100;
constexpr int kNameWidth = 24;
} // namespace

std::string byteText(double bytes)
{
    static constexpr std::array<const char *, 4> units{ "bytes", "kB", "MB", "GB" };
    size_t unit = 0;
    while (bytes >= 1000 && unit + 1 < units.size()) {
        bytes /= 1000;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", bytes, units.at(unit));
    return text;
}

ProgressBar::ProgressBar()
    : m_isVisible(::isatty(STDERR_FILENO) == 1)
{}

void ProgressBar::begin(const std::string &name, qint64 size)
{
    clear();
    m_name = name;
    m_sinceBegin.start();
    m_drawnMs = -kRedrawMs;
    show(0, size);
}

void ProgressBar::show(qint64 done, qint64 size)
{
    const qint64 nowMs = m_sinceBegin.elapsed();
    if (!m_isVisible || nowMs - m_drawnMs < kRedrawMs || size <= 0) {
        return;
    }
    m_drawnMs = nowMs;
    m_isDrawn = true;
    const double share = std::clamp(static_cast<double>(done) / static_cast<double>(size), 0.0, 1.0);
    const auto filled = static_cast<size_t>(share * kBarWidth);
    const std::string bar = std::string(filled, '#') + std::string(kBarWidth - filled, '.');
    const std::string speed = byteText(static_cast<double>(done) / std::max(seconds(), 0.001)) + "/s";
    std::fprintf(stderr, "\r\033[K%.*s [%s] %3.0f %%  %s", kNameWidth, m_name.c_str(), bar.c_str(), share * 100,
                 speed.c_str());
    std::fflush(stderr);
}

void ProgressBar::clear()
{
    if (m_isDrawn) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
        m_isDrawn = false;
    }
}
