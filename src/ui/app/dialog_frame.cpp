#include "dialog_frame.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QVBoxLayout>

namespace brightloom::ui {

QVBoxLayout* dialogLayout(QDialog& dialog)
{
    auto* layout = new QVBoxLayout(&dialog);
    layout->setContentsMargins(24, 20, 24, 16);
    return layout;
}

void addCloseButton(QDialog& dialog, QVBoxLayout& layout)
{
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, &dialog);
    buttons->button(QDialogButtonBox::Close)->setAccessibleName(QStringLiteral("Close"));
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout.addWidget(buttons);
}

void bringToFront(QWidget& window)
{
    if (window.isMinimized())
        window.showNormal();
    else
        window.show();
    window.raise();
    window.activateWindow();
}

} // namespace brightloom::ui
