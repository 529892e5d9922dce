#pragma once

#include "service/records.h"

#include <QAbstractListModel>
#include <QList>

namespace brightloom::ui {

// The conversation's messages as rows, one per bubble. A new list is compared with the one shown:
// rows that stayed the same are left alone, so a refresh that adds one message inserts one row and
// an unchanged refresh touches none.
class BubbleListModel final : public QAbstractListModel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BubbleListModel)

public:
    enum Role {
        IdRole = Qt::UserRole + 1, // the message's id
        SenderRole,                // the message's role: "user", "assistant", …
        FromUserRole,              // whether the user wrote it (drawn on the trailing side)
    };

    explicit BubbleListModel(QObject* parent = nullptr);

    // Shows `messages`: the rows after the first one that differs are replaced, the rest are kept.
    void setMessages(const QList<Message>& messages);
    const QList<Message>& messages() const { return m_messages; }
    const Message& message(int row) const { return m_messages.at(row); }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    QList<Message> m_messages;
};

} // namespace brightloom::ui
