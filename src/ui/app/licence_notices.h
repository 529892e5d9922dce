#pragma once

#include <QList>
#include <QString>

namespace brightloom::ui {

// A library the program ships, with its licence and copyright notice, as About Brightloom lists it.
struct LicenceNotice
{
    QString library;
    QString licence;
    QString notice;
};

QList<LicenceNotice> licenceNotices();

} // namespace brightloom::ui
