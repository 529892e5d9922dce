#include "sidebar.h"

#include "platform/version.h"
#include "shell/main_view.h"
#include "sidebar_model.h"
#include "ui/shared/link_button.h"

#include <QHelpEvent>
#include <QLabel>
#include <QListView>
#include <QPainter>
#include <QScopedValueRollback>
#include <QStyledItemDelegate>
#include <QToolTip>
#include <QVBoxLayout>

namespace brightloom::ui {
namespace {

constexpr int iconSide = 16;

// Rows as a sidebar draws them: entries with their symbol, the section heading in small secondary
// capitals, the selection as a rounded highlight.
class SidebarDelegate final : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const bool heading = index.data(SidebarModel::KindRole).toInt() == int(SidebarModel::Kind::heading);
        return QSize(option.rect.width(), heading ? 30 : 28);
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        const QPalette& palette = option.palette;
        const auto kind = SidebarModel::Kind(index.data(SidebarModel::KindRole).toInt());
        const QRect row = option.rect.adjusted(8, 1, -8, -1);
        if (kind == SidebarModel::Kind::heading) {
            QFont small = option.font;
            small.setPointSizeF(small.pointSizeF() * 0.82);
            small.setBold(true);
            painter->setFont(small);
            painter->setPen(palette.color(QPalette::PlaceholderText));
            painter->drawText(row.adjusted(8, 8, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                              index.data(Qt::DisplayRole).toString());
            painter->restore();
            return;
        }
        const bool selected = option.state & QStyle::State_Selected;
        if (selected) {
            QColor fill = palette.color(QPalette::Highlight);
            fill.setAlphaF(option.state & QStyle::State_HasFocus ? 0.9f : 0.55f);
            painter->setPen(Qt::NoPen);
            painter->setBrush(fill);
            painter->drawRoundedRect(row, 6, 6);
        } else if (option.state & QStyle::State_MouseOver) {
            QColor hover = palette.color(QPalette::WindowText);
            hover.setAlphaF(0.06f);
            painter->setPen(Qt::NoPen);
            painter->setBrush(hover);
            painter->drawRoundedRect(row, 6, 6);
        }
        int x = row.left() + 8;
        const QIcon icon = index.data(Qt::DecorationRole).value<QIcon>();
        if (!icon.isNull()) {
            icon.paint(painter, QRect(x, row.center().y() - iconSide / 2 + 1, iconSide, iconSide));
            x += iconSide + 8;
        } else if (kind == SidebarModel::Kind::project) {
            x += 2;
        }
        painter->setFont(option.font);
        painter->setPen(palette.color(selected ? QPalette::HighlightedText : QPalette::WindowText));
        const QRect text(x, row.top(), row.right() - x - 6, row.height());
        painter->drawText(
            text, Qt::AlignLeft | Qt::AlignVCenter,
            option.fontMetrics.elidedText(index.data().toString(), Qt::ElideRight, text.width()));
        painter->restore();
    }

    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override
    {
        // Resting on the warning symbol explains it; elsewhere the row's tooltip names its shortcut.
        const QString symbolHelp = index.data(SidebarModel::SymbolHelpRole).toString();
        const QRect symbolArea(option.rect.left() + 8, option.rect.top(), iconSide + 16,
                               option.rect.height());
        if (!symbolHelp.isEmpty() && symbolArea.contains(event->pos())) {
            QToolTip::showText(event->globalPos(), symbolHelp, view);
            return true;
        }
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    }
};

} // namespace

Sidebar::Sidebar(MainView& main, QWidget* parent)
    : QWidget(parent), m_main(main), m_model(new SidebarModel(this)), m_list(new QListView(this)),
      m_signOut(new LinkButton(QStringLiteral("Sign out"), this)),
      m_version(new QLabel(QStringLiteral("Version ") + QStringLiteral(BRIGHTLOOM_VERSION), this))
{
    setFixedWidth(230);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 14, 0, 12);
    layout->setSpacing(6);
    auto* title = new QLabel(QStringLiteral("Brightloom"), this);
    QFont bold = title->font();
    bold.setBold(true);
    bold.setPointSizeF(bold.pointSizeF() * 1.25);
    title->setFont(bold);
    title->setContentsMargins(16, 0, 16, 4);
    layout->addWidget(title);

    m_list->setModel(m_model);
    m_list->setItemDelegate(new SidebarDelegate(m_list));
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setMouseTracking(true);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setAccessibleName(QStringLiteral("Sidebar"));
    QPalette clear = m_list->palette();
    clear.setColor(QPalette::Base, Qt::transparent);
    m_list->setPalette(clear);
    m_list->viewport()->setAutoFillBackground(false);
    layout->addWidget(m_list, 1);

    auto* foot = new QVBoxLayout;
    foot->setContentsMargins(16, 6, 16, 0);
    foot->setSpacing(2);
    foot->addWidget(m_signOut, 0, Qt::AlignLeft);
    QFont small = m_version->font();
    small.setPointSizeF(small.pointSizeF() * 0.85);
    m_version->setFont(small);
    m_version->setForegroundRole(QPalette::PlaceholderText);
    foot->addWidget(m_version);
    layout->addLayout(foot);

    m_model->setProjects(main.projects());
    connect(&main, &MainView::projectsChanged, this, [this] {
        // Rows that go take the current row with them: the list then moves it to a neighbour,
        // which is no choice of the user's.
        const QScopedValueRollback following(m_following, true);
        m_model->setProjects(m_main.projects());
        showSelection();
    });
    connect(&main, &MainView::selectionChanged, this, &Sidebar::showSelection);
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& index) {
                const QString selection = index.data(SidebarModel::SelectionRole).toString();
                if (!m_following && !selection.isEmpty())
                    m_main.select(selection);
            });
    connect(m_signOut, &QPushButton::clicked, &main, &MainView::signOut);
    showSelection();
}

void Sidebar::showSelection()
{
    const int row = m_model->rowFor(m_main.selection().value_or(MainView::newSelection));
    const QScopedValueRollback following(m_following, true);
    if (row < 0) {
        // A project missing from a reloaded list stays selected (the detail shows the new project
        // screen meanwhile), so it comes back if a later list holds it again. No row is marked, so
        // choosing "New app" still counts as a choice.
        m_list->selectionModel()->clear();
        return;
    }
    const QModelIndex index = m_model->index(row);
    if (m_list->currentIndex() != index)
        m_list->setCurrentIndex(index);
}

void Sidebar::paintEvent(QPaintEvent*)
{
    // A sidebar a shade off the window's colour, with a hairline at its edge.
    QPainter painter(this);
    QColor shade = palette().color(QPalette::WindowText);
    shade.setAlphaF(0.035f);
    painter.fillRect(rect(), shade);
    QColor line = palette().color(QPalette::WindowText);
    line.setAlphaF(0.12f);
    painter.fillRect(QRect(width() - 1, 0, 1, height()), line);
}

} // namespace brightloom::ui
