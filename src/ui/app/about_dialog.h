#pragma once

#include <QDialog>

class QTextBrowser;

namespace brightloom::ui {

// "About Brightloom": the logo, the version, and the licence notices of the libraries it ships.
class AboutDialog final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(AboutDialog)

public:
    explicit AboutDialog(QWidget* parent = nullptr);

    QTextBrowser* notices() const { return m_notices; }

private:
    QTextBrowser* m_notices;
};

} // namespace brightloom::ui
