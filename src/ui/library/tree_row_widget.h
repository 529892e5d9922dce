#pragma once

#include "library/tree_rows.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QSpacerItem;
class QHBoxLayout;

namespace brightloom::ui {

class OneLineLabel;

// One row of the version tree: a version with its summary and "Use as template", a fork's line, or
// the count of private forks. Indented by its depth, up to a cap, with a guide line per level.
class TreeRowWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TreeRowWidget)

public:
    explicit TreeRowWidget(QWidget* parent = nullptr);

    void bind(const TreeRow& row, const TemplateButton& button);

    // The height of a row of `kind` in the font of `widget`.
    static int heightFor(TreeRow::Kind kind, const QWidget& widget);
    // How far a row at `depth` is indented: one step per level, up to the cap.
    static int indentFor(int depth);

    const QString& jobId() const { return m_jobId; }
    TreeRow::Kind kind() const { return m_kind; }
    int depth() const { return m_depth; }
    QLabel* titleLabel() const;
    OneLineLabel* detailLabel() const { return m_detail; }
    QPushButton* templateButton() const { return m_button; }

Q_SIGNALS:
    void useAsTemplate(const QString& jobId);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QHBoxLayout* m_layout;
    QSpacerItem* m_indent;
    OneLineLabel* m_title;
    OneLineLabel* m_detail;
    QPushButton* m_button;
    QString m_jobId;
    TreeRow::Kind m_kind = TreeRow::Kind::version;
    int m_depth = 0;
    bool m_hasSource = false;
};

} // namespace brightloom::ui
