#pragma once

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
    // A place between two characters of a row's text.
    struct TextPoint
    {
        int row = -1;
        int pos = 0;
        bool operator==(const TextPoint&) const = default;
        bool operator<(const TextPoint& other) const
        {
            return row != other.row ? row < other.row : pos < other.pos;
        }
    };

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
    QWidget* footer() const { return m_footer; }

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
    TextPoint selectionStart() const { return std::min(m_anchor, m_cursor); }
    TextPoint selectionEnd() const { return std::max(m_anchor, m_cursor); }
    void selectAll();
    void clearSelection();
    // Puts the selected text on the clipboard.
    void copy() const;

    // Paint passes of the viewport so far.
    int framesPainted() const { return m_framesPainted; }
    int rowCount() const { return int(m_rows.size()); }

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
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Row
    {
        int height = 0;
        bool exact = false; // laid out, or only guessed
        qsizetype characters = 0;
        int lineBreaks = 0;
    };

    void rowsInserted(int first, int last);
    void rowsRemoved(int first, int last);
    void rowsChanged(int first, int last);
    void reset();
    Row rowFor(int row) const;
    void estimate(Row& row) const;
    void retop(int from);
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
    // The row whose extent holds content height `y`, clamped to the rows.
    int rowAtContent(int y) const;
    TextPoint pointAt(QPoint point);
    QString rowText(int row) const;
    void setSelection(TextPoint anchor, TextPoint cursor);
    void selectWordAt(TextPoint point);
    void autoScroll();
    void publishSelection() const;

    QPointer<QAbstractItemModel> m_model;
    BubbleDelegate* m_delegate;
    QPointer<QWidget> m_footer;
    std::vector<Row> m_rows;
    std::vector<int> m_tops; // content y of each row's top, and of the end of the rows
    int m_laidOutWidth = -1;
    bool m_stickToEnd = true;
    bool m_settling = false;
    bool m_movingScrollBar = false;
    TextPoint m_anchor;
    TextPoint m_cursor;
    bool m_dragging = false;
    QPoint m_dragPoint;
    QTimer m_autoScroll;
    QElapsedTimer m_sinceDoubleClick;
    QPoint m_doubleClickPoint;
    bool m_keyboardFocus = false;
    int m_framesPainted = 0;
};

} // namespace brightloom::ui
