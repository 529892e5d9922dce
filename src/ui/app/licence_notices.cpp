#include "licence_notices.h"

namespace brightloom::ui {

QList<LicenceNotice> licenceNotices()
{
    // The libraries linked into the program (and copied into the Mac app), not those of the tests.
    return {
        {QStringLiteral("Qt"), QStringLiteral("GNU LGPL version 3"),
         QStringLiteral("Copyright (C) The Qt Company Ltd. and other contributors. Qt is used under the "
                        "GNU Lesser General Public License version 3; its source is available at "
                        "https://download.qt.io/.")},
        {QStringLiteral("QCoro"), QStringLiteral("MIT"),
         QStringLiteral("Copyright (c) 2021 Daniel Vrátil and the QCoro contributors.")},
        {QStringLiteral("JSON for Modern C++"), QStringLiteral("MIT"),
         QStringLiteral("Copyright (c) 2013-2022 Niels Lohmann.")},
        {QStringLiteral("QtKeychain"), QStringLiteral("BSD 3-Clause"),
         QStringLiteral("Copyright (C) 2011-2019 Frank Osterfeld and the QtKeychain contributors.")},
        {QStringLiteral("libarchive"), QStringLiteral("BSD 2-Clause"),
         QStringLiteral("Copyright (c) 2003-2018 Tim Kientzle and the libarchive contributors.")},
        {QStringLiteral("zlib"), QStringLiteral("zlib"),
         QStringLiteral("Copyright (C) 1995-2022 Jean-loup Gailly and Mark Adler.")},
    };
}

} // namespace brightloom::ui
