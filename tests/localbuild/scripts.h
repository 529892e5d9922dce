#pragma once

// Small executable shell scripts written by a test, to be started as real child processes.

#include <QFile>
#include <QString>
#include <QTemporaryDir>

namespace brightloom::test {

class Scripts
{
public:
    // Writes "#!/bin/sh" + `body` as an executable file `name` and answers its path.
    QString write(const QString& name, const QByteArray& body)
    {
        const QString path = m_dir.filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return {};
        file.write("#!/bin/sh\n" + body);
        file.close();
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }

    QString folder() const { return m_dir.path(); }
    QString path(const QString& name) const { return m_dir.filePath(name); }

private:
    QTemporaryDir m_dir;
};

} // namespace brightloom::test
