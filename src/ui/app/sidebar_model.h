#pragma once

#include "service/records.h"

#include <QAbstractListModel>
#include <QIcon>

namespace brightloom::ui {

// The sidebar's rows: "New app", "My apps", the "Your apps" heading, then the user's projects in the
// service's order. A changed project list moves, inserts and removes rows one by one, so the
// selection and the scroll position stay where they were.
class SidebarModel final : public QAbstractListModel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SidebarModel)

public:
    // SymbolHelpRole: the help text of the row's symbol, shown when the pointer rests on the symbol.
    enum Role { SelectionRole = Qt::UserRole + 1, KindRole, SymbolHelpRole };
    enum class Kind { entry, heading, project };

    static constexpr int firstProjectRow = 3;

    explicit SidebarModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    void setProjects(const QList<Project>& projects);
    const QList<Project>& projects() const { return m_projects; }
    // The row that selects `selection` ("new", "library" or a project id), or -1.
    int rowFor(const QString& selection) const;

private:
    QList<Project> m_projects;
};

} // namespace brightloom::ui
