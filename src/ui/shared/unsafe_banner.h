#pragma once

#include "banner_frame.h"

namespace brightloom::ui {

// The warning over a project made from an imported repository.
class UnsafeBanner final : public BannerFrame
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(UnsafeBanner)

public:
    static const QString boldText; // "Made from an imported GitHub repo (unsafe mode)."
    static const QString restText; // " The code was adapted … listed in the gallery."

    explicit UnsafeBanner(QWidget* parent = nullptr);
};

} // namespace brightloom::ui
