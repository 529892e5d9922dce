#include "download_progress.h"

#include <QString>
#include <cstdio>
#include <unistd.h>

namespace brightloom::cli {

DownloadProgress::DownloadProgress() : m_terminal(isatty(STDERR_FILENO) == 1) {}

brightloom::DownloadProgress DownloadProgress::observer()
{
    if (!m_terminal)
        return {};
    return [this](qint64 received, qint64 total) {
        constexpr int width = 30;
        QString line;
        if (total > 0) {
            const int filled = int(width * received / total);
            line = QStringLiteral("\r[%1%2] %3%  %4 MB")
                       .arg(QString(filled, QLatin1Char('#')), QString(width - filled, QLatin1Char(' ')))
                       .arg(100 * received / total, 3)
                       .arg(double(received) / 1e6, 0, 'f', 1);
        } else {
            line = QStringLiteral("\r%1 MB").arg(double(received) / 1e6, 0, 'f', 1);
        }
        const QByteArray bytes = line.toUtf8();
        std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
        std::fflush(stderr);
        m_drawn = true;
    };
}

void DownloadProgress::finish()
{
    if (m_drawn)
        std::fputs("\n", stderr);
    m_drawn = false;
}

} // namespace brightloom::cli
