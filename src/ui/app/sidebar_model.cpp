#include "sidebar_model.h"

#include "shell/main_view.h"
#include "ui/shared/symbols.h"

#include <QSet>

namespace brightloom::ui {
namespace {

const QString unsafeHelp = QStringLiteral("Made from an imported GitHub repo (unsafe mode)");

} // namespace

SidebarModel::SidebarModel(QObject* parent) : QAbstractListModel(parent) {}

int SidebarModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : firstProjectRow + int(m_projects.size());
}

Qt::ItemFlags SidebarModel::flags(const QModelIndex& index) const
{
    if (index.row() == 2)
        return Qt::ItemIsEnabled;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable;
}

QVariant SidebarModel::data(const QModelIndex& index, int role) const
{
    const int row = index.row();
    if (!index.isValid() || row >= rowCount())
        return {};
    if (row < firstProjectRow) {
        switch (role) {
        case Qt::DisplayRole:
        case Qt::AccessibleTextRole:
            return row == 0   ? QStringLiteral("New app")
                   : row == 1 ? QStringLiteral("My apps")
                              : QStringLiteral("Your apps");
        case Qt::DecorationRole:
            if (row == 2)
                return {};
            return symbol(row == 0 ? Symbol::newApp : Symbol::myApps);
        case Qt::ToolTipRole:
            if (row == 2)
                return {};
            return row == 0 ? QStringLiteral("New app (Ctrl+N)") : QStringLiteral("My apps (Ctrl+Shift+A)");
        case SelectionRole:
            return row == 0 ? MainView::newSelection : row == 1 ? MainView::librarySelection : QString();
        case KindRole:
            return int(row == 2 ? Kind::heading : Kind::entry);
        default:
            return {};
        }
    }
    const Project& project = m_projects.at(row - firstProjectRow);
    const bool unsafe = project.unsafe.value_or(false);
    const int position = row - firstProjectRow + 1;
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return project.name;
    case Qt::DecorationRole:
        return unsafe ? QVariant(symbol(Symbol::warning)) : QVariant();
    case Qt::ToolTipRole:
        if (position > 9)
            return {};
        return QString(project.name + QStringLiteral(" (Ctrl+") + QString::number(position) +
                       QLatin1Char(')'));
    case SymbolHelpRole:
        return unsafe ? QVariant(unsafeHelp) : QVariant();
    case SelectionRole:
        return project.id;
    case KindRole:
        return int(Kind::project);
    default:
        return {};
    }
}

int SidebarModel::rowFor(const QString& selection) const
{
    if (selection == MainView::newSelection)
        return 0;
    if (selection == MainView::librarySelection)
        return 1;
    for (qsizetype i = 0; i < m_projects.size(); ++i) {
        if (m_projects[i].id == selection)
            return firstProjectRow + int(i);
    }
    return -1;
}

void SidebarModel::setProjects(const QList<Project>& projects)
{
    if (projects == m_projects)
        return;
    QSet<QString> incoming;
    for (const Project& project : projects)
        incoming.insert(project.id);
    // Rows of projects that are gone, from the end so the rows before stay put.
    for (qsizetype i = m_projects.size() - 1; i >= 0; --i) {
        if (incoming.contains(m_projects[i].id))
            continue;
        beginRemoveRows({}, firstProjectRow + int(i), firstProjectRow + int(i));
        m_projects.removeAt(i);
        endRemoveRows();
    }
    // The projects that stay must keep their order; a list the service reordered is shown anew.
    qsizetype kept = 0;
    for (const Project& project : projects) {
        if (kept < m_projects.size() && m_projects[kept].id == project.id)
            ++kept;
    }
    if (kept != m_projects.size()) {
        beginResetModel();
        m_projects = projects;
        endResetModel();
        return;
    }
    for (qsizetype i = 0; i < projects.size(); ++i) {
        const int row = firstProjectRow + int(i);
        if (i >= m_projects.size() || m_projects[i].id != projects[i].id) {
            beginInsertRows({}, row, row);
            m_projects.insert(i, projects[i]);
            endInsertRows();
        } else if (!(m_projects[i] == projects[i])) {
            m_projects[i] = projects[i];
            Q_EMIT dataChanged(index(row), index(row));
        }
    }
}

} // namespace brightloom::ui
