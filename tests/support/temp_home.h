#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QProcessEnvironment>
#include <QString>
#include <QTemporaryDir>

namespace brightloom::test {

// A fresh home folder for one test: HOME and the XDG folders point into it while it lives, both for
// this process and for the child processes the test starts with environment().
class TempHome
{
public:
    TempHome();
    ~TempHome();
    TempHome(const TempHome&) = delete;
    TempHome& operator=(const TempHome&) = delete;

    QString path() const { return m_dir.path(); }
    QString dataFolder() const;      // the client's own data folder
    QString downloadsFolder() const; // XDG_DOWNLOAD_DIR
    QProcessEnvironment environment() const;

    // Sets a variable for this process until the home is gone.
    void setEnv(const char* name, const QByteArray& value);

private:
    QTemporaryDir m_dir;
    QList<QPair<QByteArray, std::optional<QByteArray>>> m_saved;
};

} // namespace brightloom::test
