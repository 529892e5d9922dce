#pragma once

#include "service/file_download.h"

namespace brightloom::cli {

// A one-line progress bar on standard error while a download runs, only when that is a terminal.
class DownloadProgress
{
public:
    DownloadProgress();
    brightloom::DownloadProgress observer();
    void finish(); // ends the bar's line

private:
    bool m_terminal;
    bool m_drawn = false;
};

} // namespace brightloom::cli
