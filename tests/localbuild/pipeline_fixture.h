#pragma once

// What the local build pipeline's tests share: a temporary home, a tools folder of stand-in developer
// tools (BRIGHTLOOM_TOOLS_DIR), a work folder, and readers for what the pipeline writes.

#include "temp_home.h"

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <ostream>

// Readable failures for texts.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

namespace brightloom::test {

// One picture of an .icns file: its four-letter type and the decoded image.
struct IcnsImage
{
    QByteArray type;
    QImage image;
};

// The pictures of an .icns file in their order; empty when the file is not one.
QList<IcnsImage> readIcns(const QString& path);

QByteArray readFile(const QString& path);
// The text of a symbolic link as it is stored, or "" when `path` is not one.
QString linkText(const QString& path);
void writeFile(const QString& path, const QByteArray& data);

// The start of a 64-bit dynamic library, enough for the file tool to call it a "shared library",
// followed by `marker`.
QByteArray machODynamicLibrary(const QByteArray& marker);

// Runs a command to its end and answers its exit code; the output goes to `output` when given.
int runTool(const QString& program, const QStringList& arguments, const QString& cwd = {},
            QString* output = nullptr);

class PipelineTest : public ::testing::Test
{
protected:
    PipelineTest();

    // A path inside the work folder.
    QString work(const QString& relative) const { return m_work.path() + QLatin1Char('/') + relative; }
    QString toolsFolder() const { return m_tools.path(); }

    // Puts a script named `name` in the tools folder that sets `assignments` ("NAME=value" lines)
    // and then runs the stand-in tool of that name.
    void wrapTool(const QString& name, const QStringList& assignments);

    // A Swift package in `dir` that the stand-in toolchain builds: Package.swift (the given text or a
    // plain one), Sources/App/App.swift, and app.json with `name` when one is given.
    void writePackage(const QString& dir, const QString& name = {}, const QByteArray& manifest = {});

    TempHome m_home;

private:
    QTemporaryDir m_tools;
    QTemporaryDir m_work;
};

} // namespace brightloom::test
