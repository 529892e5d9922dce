#include "bubble_list_accessible.h"

#include "bubble_list_model.h"
#include "bubble_list_view.h"

#include <QAbstractItemModel>
#include <QPointer>

namespace brightloom::ui {

namespace {

// One bubble, made when a screen reader asks for it. It stands for the message that was at its row
// when it was made and turns invalid when another message takes that row.
class BubbleAccessible final : public QAccessibleInterface
{
public:
    BubbleAccessible(BubbleListView* view, int row)
        : m_view(view), m_row(row), m_id(messageData(BubbleListModel::IdRole).toString())
    {}

    int row() const { return m_row; }

    bool isValid() const override
    {
        return m_view && m_view->model() && m_row < m_view->model()->rowCount() &&
               messageData(BubbleListModel::IdRole).toString() == m_id;
    }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return parent() ? parent()->window() : nullptr; }
    QAccessibleInterface* parent() const override
    {
        return m_view ? QAccessible::queryAccessibleInterface(m_view->viewport()) : nullptr;
    }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    QAccessible::Role role() const override { return QAccessible::ListItem; }

    QString text(QAccessible::Text t) const override
    {
        if (!isValid())
            return {};
        if (t == QAccessible::Name)
            return messageData(Qt::DisplayRole).toString();
        if (t == QAccessible::Description)
            return messageData(BubbleListModel::FromUserRole).toBool() ? QStringLiteral("You")
                                                                       : QStringLiteral("Brightloom");
        return {};
    }
    void setText(QAccessible::Text, const QString&) override {}

    QRect rect() const override
    {
        if (!isValid())
            return {};
        const QRect bubble = m_view->bubbleRect(m_row);
        return QRect(m_view->viewport()->mapToGlobal(bubble.topLeft()), bubble.size());
    }

    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.readOnly = true;
        state.selectable = true;
        if (!isValid())
            state.invalid = true;
        else if (!m_view->viewport()->rect().intersects(m_view->bubbleRect(m_row)))
            state.offscreen = true;
        return state;
    }

private:
    QVariant messageData(int role) const
    {
        return m_view && m_view->model() ? m_view->model()->index(m_row, 0).data(role) : QVariant();
    }

    QPointer<BubbleListView> m_view;
    int m_row;
    QString m_id;
};

QAccessibleInterface* factory(const QString& className, QObject* object)
{
    if (className == QLatin1String("brightloom::ui::BubbleViewport") && object && object->isWidgetType())
        return new BubbleListAccessible(static_cast<QWidget*>(object));
    return nullptr;
}

} // namespace

BubbleListAccessible::BubbleListAccessible(QWidget* viewport) : QAccessibleWidget(viewport, QAccessible::List)
{}

BubbleListAccessible::~BubbleListAccessible()
{
    for (const QAccessible::Id id : std::as_const(m_items))
        QAccessible::deleteAccessibleInterface(id);
}

void BubbleListAccessible::install()
{
    static const bool installed = [] {
        QAccessible::installFactory(factory);
        return true;
    }();
    Q_UNUSED(installed);
}

BubbleListView* BubbleListAccessible::view() const
{
    return qobject_cast<BubbleListView*>(widget()->parentWidget());
}

QAccessibleInterface* BubbleListAccessible::item(int row) const
{
    if (const auto it = m_items.constFind(row); it != m_items.cend()) {
        QAccessibleInterface* kept = QAccessible::accessibleInterface(*it);
        if (kept && kept->isValid())
            return kept;
        QAccessible::deleteAccessibleInterface(*it);
        m_items.remove(row);
    }
    auto* made = new BubbleAccessible(view(), row);
    m_items.insert(row, QAccessible::registerAccessibleInterface(made));
    return made;
}

int BubbleListAccessible::childCount() const
{
    const BubbleListView* list = view();
    return (list ? list->rowCount() : 0) + QAccessibleWidget::childCount();
}

QAccessibleInterface* BubbleListAccessible::child(int index) const
{
    const int rows = view() ? view()->rowCount() : 0;
    if (index < 0)
        return nullptr;
    if (index < rows)
        return item(index);
    return QAccessibleWidget::child(index - rows);
}

int BubbleListAccessible::indexOfChild(const QAccessibleInterface* child) const
{
    if (!child)
        return -1;
    if (const auto* bubble = dynamic_cast<const BubbleAccessible*>(child))
        return bubble->isValid() ? bubble->row() : -1;
    const int index = QAccessibleWidget::indexOfChild(child);
    return index < 0 ? -1 : index + (view() ? view()->rowCount() : 0);
}

QAccessibleInterface* BubbleListAccessible::childAt(int x, int y) const
{
    BubbleListView* list = view();
    if (!list)
        return nullptr;
    const QPoint local = widget()->mapFromGlobal(QPoint(x, y));
    const int row = list->rowAt(local);
    if (row >= 0 && list->bubbleRect(row).contains(local))
        return item(row);
    return QAccessibleWidget::childAt(x, y);
}

} // namespace brightloom::ui
