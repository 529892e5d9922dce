#include "pipeline_fixture.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QtEndian>
#include <filesystem>

namespace brightloom::test {

QList<IcnsImage> readIcns(const QString& path)
{
    const QByteArray data = readFile(path);
    QList<IcnsImage> images;
    if (data.size() < 8 || !data.startsWith("icns") ||
        qFromBigEndian<quint32>(data.constData() + 4) != quint32(data.size()))
        return images;
    qsizetype at = 8;
    while (at + 8 <= data.size()) {
        const quint32 length = qFromBigEndian<quint32>(data.constData() + at + 4);
        if (length < 8 || at + length > quint32(data.size()))
            return {};
        images.append({data.mid(at, 4), QImage::fromData(data.mid(at + 8, length - 8), "PNG")});
        at += length;
    }
    return images;
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

void writeFile(const QString& path, const QByteArray& data)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(data) != data.size())
        ADD_FAILURE() << "could not write " << path.toStdString();
}

QByteArray machODynamicLibrary(const QByteArray& marker)
{
    QByteArray data(32, '\0');
    qToLittleEndian<quint32>(0xfeedfacf, data.data());     // 64-bit magic
    qToLittleEndian<quint32>(0x01000007, data.data() + 4); // x86_64
    qToLittleEndian<quint32>(3, data.data() + 8);          // all subtypes
    qToLittleEndian<quint32>(6, data.data() + 12);         // a dynamic library
    return data + QByteArray(64, '\0') + marker;
}

QString linkText(const QString& path)
{
    std::error_code error;
    const auto target = std::filesystem::read_symlink(path.toStdString(), error);
    return error ? QString() : QString::fromStdString(target.string());
}

int runTool(const QString& program, const QStringList& arguments, const QString& cwd, QString* output)
{
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    if (!cwd.isEmpty())
        process.setWorkingDirectory(cwd);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start();
    if (!process.waitForFinished(120'000))
        return -1;
    if (output)
        *output = QString::fromUtf8(process.readAll());
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

PipelineTest::PipelineTest()
{
    const QStringList tools = {QStringLiteral("xcrun"),
                               QStringLiteral("sips"),
                               QStringLiteral("iconutil"),
                               QStringLiteral("codesign"),
                               QStringLiteral("install_name_tool"),
                               QStringLiteral("git"),
                               QStringLiteral("file")};
    for (const QString& tool : tools) {
        QFile::link(QStringLiteral(BRIGHTLOOM_STANDIN_TOOLS_DIR "/") + tool,
                    m_tools.path() + QLatin1Char('/') + tool);
    }
    m_home.setEnv("BRIGHTLOOM_TOOLS_DIR", m_tools.path().toUtf8());
}

void PipelineTest::wrapTool(const QString& name, const QStringList& assignments)
{
    const QString path = m_tools.path() + QLatin1Char('/') + name;
    QFile::remove(path);
    QByteArray script = "#!/bin/sh\n";
    for (const QString& assignment : assignments)
        script += "export " + assignment.toUtf8() + "\n";
    script += "exec '" BRIGHTLOOM_STANDIN_TOOLS_DIR "/" + name.toUtf8() + "' \"$@\"\n";
    writeFile(path, script);
    QFile::setPermissions(path, QFile::permissions(path) | QFile::ExeOwner | QFile::ExeUser);
}

void PipelineTest::writePackage(const QString& dir, const QString& name, const QByteArray& manifest)
{
    writeFile(dir + QStringLiteral("/Package.swift"),
              manifest.isEmpty()
                  ? QByteArray("// swift-tools-version:5.9\nimport PackageDescription\n"
                               "let package = Package(name: \"App\", platforms: [.macOS(.v14)],\n"
                               "    targets: [.executableTarget(name: \"App\")])\n")
                  : manifest);
    writeFile(dir + QStringLiteral("/Sources/App/App.swift"),
              "import SwiftUI\n@main struct App: SwiftUI.App { var body: some Scene { WindowGroup { "
              "Text(\"Hi\") } } }\n");
    if (!name.isNull()) {
        QString escaped = name;
        escaped.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
        escaped.replace(QLatin1Char('"'), QStringLiteral("\\\""));
        writeFile(dir + QStringLiteral("/app.json"), "{\"name\": \"" + escaped.toUtf8() + "\"}");
    }
}

} // namespace brightloom::test
