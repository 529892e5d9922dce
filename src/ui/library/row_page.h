#pragma once

#include "ui/shared/row_extents.h"
#include "ui/shared/row_widgets.h"

#include <QAbstractScrollArea>
#include <QList>
#include <QPointer>
#include <vector>

namespace brightloom::ui {

struct Column;

// A scrolling page: a column of widgets, among them runs of rows that may number in the hundreds of
// thousands. A row's widget is made only while the row is visible and is reused for other rows as
// the page scrolls, so a long run costs what the visible part costs. Rows of a run can differ in
// height; the page keeps their offsets.
class RowPage final : public QAbstractScrollArea
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RowPage)

public:
    // What a run of rows tells the page.
    class Rows
    {
    public:
        virtual ~Rows() = default;
        virtual int count() const = 0;
        virtual int rowHeight(int index) const = 0;
        virtual QWidget* makeRow(QWidget* parent) = 0;
        virtual void bind(QWidget* row, int index) = 0;
    };

    explicit RowPage(QWidget* parent = nullptr);
    ~RowPage() override;

    // Sections, top to bottom. The page owns the widgets, not the runs.
    void addWidget(QWidget* widget);
    void addRows(Rows* rows);

    // The content stays at most this wide, centred; `margin` is kept on every side.
    void setColumn(int maxWidth, int margin, int spacing);

    // A run's count or heights changed: lays it out anew and binds its visible rows again.
    void rowsChanged(Rows* rows);
    // What the visible rows show changed: binds them again.
    void rebindVisible();

    // The widget that shows `index` of `rows` now, or null when that row is not visible.
    QWidget* rowWidget(const Rows* rows, int index) const;
    // The rows of `rows` that have a widget now, by index.
    QList<int> visibleRows(const Rows* rows) const;
    // Scrolls so that row `index` of `rows` is at the top (as far as the page reaches).
    void scrollToRow(const Rows* rows, int index);
    // How tall the whole content is.
    qint64 contentHeight() const { return m_contentHeight; }

protected:
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool focusNextPrevChild(bool next) override;

private:
    struct Section
    {
        QPointer<QWidget> widget;
        Rows* rows = nullptr;
        RowExtents extents; // rows: where each row of the run sits within it
        qint64 top = 0;
        qint64 height = 0;
        RowWidgets<QWidget> widgets; // rows: the widgets showing them
    };

    Section* sectionOf(const Rows* rows);
    const Section* sectionOf(const Rows* rows) const;
    void measure(Section& section) const;
    void relayout();
    void place(bool rebind);
    void placeRows(Section& section, int x, int width, bool rebind);
    Column column() const;
    void ensureVisible(QWidget* widget);

    std::vector<Section> m_sections;
    qint64 m_contentHeight = 0;
    int m_maxWidth = 900;
    int m_margin = 24;
    int m_spacing = 16;
    int m_measuredWidth = -1;
    bool m_placing = false;
};

} // namespace brightloom::ui
