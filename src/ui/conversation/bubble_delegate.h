#pragma once

#include <QCache>
#include <QFont>
#include <QStyledItemDelegate>
#include <QTextLayout>
#include <memory>

namespace brightloom::ui {

// Draws one message as a chat bubble: its text as plain text, word-wrapped, on a rounded background
// at most 480 wide, the user's on the trailing side in black on the accent, everyone else's on the
// leading side in the text colour on a faint wash of it. One text layout per message serves its
// height, its painting and finding a character under the mouse; layouts are kept for the messages
// seen last and made again when the width or the font changes.
//
// The option's rect is the row: the column's left edge and width, the row's top and height.
class BubbleDelegate final : public QStyledItemDelegate
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BubbleDelegate)

public:
    static constexpr int rowGap = 10; // below every bubble

    explicit BubbleDelegate(QObject* parent = nullptr);
    ~BubbleDelegate() override;

    // A guess at a row's height from its length alone, for rows not yet laid out.
    static int estimatedHeight(qsizetype characters, int lineBreaks, int columnWidth, const QFont& font);
    // The row's real height: its bubble and the gap below it. Lays the text out unless it is kept.
    int height(const QModelIndex& index, const QStyleOptionViewItem& option) const;
    QRect bubbleRect(const QModelIndex& index, const QStyleOptionViewItem& option) const;
    // Where the text of the bubble starts, in the option's coordinates.
    QPoint textOrigin(const QModelIndex& index, const QStyleOptionViewItem& option) const;
    // The position between characters nearest to `point`: 0 above the bubble, the text's length
    // below it.
    int cursorAt(const QModelIndex& index, const QStyleOptionViewItem& option, QPoint point) const;
    // Paints the bubble with the characters from `selectionStart` up to `selectionEnd` highlighted
    // (none when they are equal).
    void paintBubble(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index,
                     int selectionStart, int selectionEnd) const;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    // How many text layouts were made so far: a row laid out again counts again.
    int layoutsMade() const { return m_layoutsMade; }
    void forgetLayouts();

private:
    struct Text
    {
        QString content;
        int wrapWidth = 0;
        QFont font;
        QTextLayout layout;
        QSize size; // the widest line and all lines' height, rounded up
    };

    // The widest a bubble's text may be in a column of `columnWidth`.
    static int wrapWidth(int columnWidth);
    const Text& text(const QModelIndex& index, const QStyleOptionViewItem& option) const;

    mutable QCache<QString, Text> m_texts;
    mutable int m_layoutsMade = 0;
};

} // namespace brightloom::ui
