#include "library_app_list_model.h"

#include "library/library_view.h"

namespace brightloom::ui {

LibraryAppListModel::LibraryAppListModel(QObject* parent) : QAbstractListModel(parent) {}

void LibraryAppListModel::setApps(const QList<LibraryApp>& apps)
{
    const qsizetype shared = std::min(m_apps.size(), apps.size());
    qsizetype firstChanged = -1;
    for (qsizetype i = 0; i <= shared; ++i) {
        const bool changed = i < shared && !(m_apps[i] == apps[i]);
        if (changed) {
            m_apps[i] = apps[i];
            if (firstChanged < 0)
                firstChanged = i;
            continue;
        }
        // A run of changed rows ends here: one signal for the run.
        if (firstChanged >= 0) {
            Q_EMIT dataChanged(index(int(firstChanged)), index(int(i - 1)));
            firstChanged = -1;
        }
    }
    if (apps.size() > m_apps.size()) {
        beginInsertRows({}, int(m_apps.size()), int(apps.size() - 1));
        m_apps.append(apps.mid(m_apps.size()));
        endInsertRows();
    } else if (apps.size() < m_apps.size()) {
        beginRemoveRows({}, int(apps.size()), int(m_apps.size() - 1));
        m_apps.resize(apps.size());
        endRemoveRows();
    }
}

int LibraryAppListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_apps.size());
}

QVariant LibraryAppListModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_apps.size())
        return {};
    const LibraryApp& app = m_apps[index.row()];
    switch (role) {
    case Qt::DisplayRole:
        return app.name;
    case versionLineRole:
    case Qt::AccessibleDescriptionRole:
        return LibraryView::versionLine(app);
    case projectIdRole:
        return app.projectId;
    default:
        return {};
    }
}

QHash<int, QByteArray> LibraryAppListModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractListModel::roleNames();
    names.insert(versionLineRole, "versionLine");
    names.insert(projectIdRole, "projectId");
    return names;
}

} // namespace brightloom::ui
