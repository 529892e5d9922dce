#pragma once

#include <QLabel>

namespace brightloom::ui {

// A label of plain text that takes a fixed number of lines and ends with "…" when the text needs
// more. Its text stays whole, so it is read out and copied in full; it shows in the tooltip when
// cut.
class ElidedLabel final : public QLabel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ElidedLabel)

public:
    explicit ElidedLabel(int lines, QWidget* parent = nullptr);

    void setFullText(const QString& text);
    // Whether the last line shown was cut.
    bool elided() const { return m_elided; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    // The lines that fit the width, the last one elided when the text goes on.
    QStringList layoutLines(int width, bool* elided) const;
    void relayout();

    int m_lines;
    QStringList m_shown;
    bool m_elided = false;
};

} // namespace brightloom::ui
