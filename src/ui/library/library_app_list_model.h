#pragma once

#include "service/records.h"

#include <QAbstractListModel>
#include <QList>

namespace brightloom::ui {

// The library's apps as a list for a view: the name, the version line and the project id of each.
// A new list changes only the rows that differ, so an unchanged or grown list is never reset.
class LibraryAppListModel final : public QAbstractListModel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LibraryAppListModel)

public:
    enum Role { versionLineRole = Qt::UserRole + 1, projectIdRole };

    explicit LibraryAppListModel(QObject* parent = nullptr);

    void setApps(const QList<LibraryApp>& apps);
    const QList<LibraryApp>& apps() const { return m_apps; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    QList<LibraryApp> m_apps;
};

} // namespace brightloom::ui
