#pragma once

#include "bubble_selection.h"
#include "ui/shared/row_extents.h"

#include <QAbstractScrollArea>
#include <QElapsedTimer>
#include <QPointer>
#include <QStyleOptionViewItem>
#include <QTimer>
#include <vector>

class QAbstractItemModel;

namespace brightloom::ui {

class BubbleDelegate;

// The surface the bubbles are painted on; the accessibility layer knows it by its class.
class BubbleViewport final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BubbleViewport)

public:
    explicit BubbleViewport(QWidget* parent = nullptr) : QWidget(parent) {}
};

// The conversation's scrolling list: one painted bubble per row of a list model and, after the last
// row, a footer widget (the status area) that scrolls with them, in a column at most 900 wide.
//
// Rows are laid out only when they come near the screen; the others count with a height guessed
// from their length until then. So a conversation of ten thousand messages opens as fast as a short
// one, a new row at the end lays out that row alone, and when a guess is corrected the row at the
// top of the screen keeps its place. While the list shows its end it keeps showing it as rows and
// the footer grow.
//
// The bubbles' text is selectable with the mouse (drag, double-click for a word, triple-click for a
// bubble, Shift+click to extend), across bubbles, and copied with the platform's Copy keys or the
// context menu. The selection is kept across changes that leave its rows alone.
class BubbleListView final : public QAbstractScrollArea
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BubbleListView)

public:
    static constexpr int topMargin = 16;
    static constexpr int bottomMargin = 16;

    explicit BubbleListView(QWidget* parent = nullptr);
    ~BubbleListView() override;

    void setModel(QAbstractItemModel* model);
    QAbstractItemModel* model() const { return m_model; }
    BubbleDelegate* delegate() const { return m_delegate; }

    // The widget shown after the last row; it belongs to the list from then on. Hidden, it takes
    // no room.
    void setFooter(QWidget* footer);

    // Shows the end of the list (the footer's bottom edge) and keeps it shown as the list grows.
    void scrollToEnd();
    bool isAtEnd() const;

    // Geometry in the viewport's coordinates; the row is laid out first when needed.
    QRect rowRect(int row);
    QRect bubbleRect(int row);
    // The row at a point of the viewport, or -1.
    int rowAt(QPoint point) const;
    QStyleOptionViewItem rowOption(int row) const;

    bool hasSelection() const;
    QString selectedText() const;
    TextPoint selectionStart() const { return m_selection.start(); }
    TextPoint selectionEnd() const { return m_selection.end(); }
    Q_INVOKABLE void selectAll();
    void clearSelection();
    // Puts the selected text on the clipboard. Both are invokable by name, as the Edit menu reaches
    // the widget that has the focus.
    Q_INVOKABLE void copy() const;

    // Paint passes of the viewport so far.
    int framesPainted() const { return m_framesPainted; }
    int rowCount() const { return m_extents.count(); }

Q_SIGNALS:
    void selectionChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // What a row's guessed height comes from, and whether it is laid out already.
    // Kept for every message: the larger field first, so that a row takes 16 bytes and not 24.
    struct Row
    {
        qsizetype characters = 0;
        int lineBreaks = 0;
        bool exact = false;
    };
    static_assert(sizeof(Row) <= sizeof(qsizetype) + 2 * sizeof(int), "a row's entry gained padding");

    void rowsInserted(int first, int last);
    void rowsRemoved(int first, int last);
    void rowsChanged(int first, int last);
    void reset();
    Row rowFor(int row) const;
    int estimate(const Row& row) const;
    // Every row's height guessed again, as for a new width or font.
    void estimateAll();
    // Lays out `row` if it is only guessed; gives whether its height was guessed.
    bool layOut(int row);
    // Lays out the rows near the screen, keeps the row at the top of the screen (or the end) in
    // place, and sets the scroll range and the footer.
    void settle();
    void updateRange();
    void placeFooter();
    int footerHeight() const;
    int contentHeight() const;
    int columnWidth() const;
    int columnLeft() const;
    int offset() const;
    // Moves the scroll bar without it counting as the reader's scrolling.
    void setOffset(int offset);
    TextPoint pointAt(QPoint point);
    void selectionMoved(bool changed);
    void autoScroll();
    void publishSelection() const;

    QPointer<QAbstractItemModel> m_model;
    BubbleDelegate* m_delegate;
    QPointer<QWidget> m_footer;
    std::vector<Row> m_rows;
    RowExtents m_extents{topMargin};
    int m_laidOutWidth = -1;
    bool m_stickToEnd = true;
    bool m_settling = false;
    bool m_movingScrollBar = false;
    BubbleSelection m_selection;
    bool m_dragging = false;
    QPoint m_dragPoint;
    QTimer m_autoScroll;
    QElapsedTimer m_sinceDoubleClick;
    QPoint m_doubleClickPoint;
    bool m_keyboardFocus = false;
    int m_framesPainted = 0;
};

} // namespace brightloom::ui
