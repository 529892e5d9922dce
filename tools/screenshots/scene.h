#pragma once

#include "ui/app/screens.h"

#include <QByteArray>
#include <QString>
#include <QWidget>
#include <functional>
#include <memory>
#include <qcoro/qcorotask.h>

namespace brightloom {
class API;
class Desktop;
class Dialogs;
class IconLoader;
class LocalBuilds;
} // namespace brightloom

namespace brightloom::screens {

// What every scene may use: a client signed in to the stand-in service, the shared icon loader, and
// a desktop that opens nothing.
struct SceneContext
{
    API& api;
    LocalBuilds& local;
    IconLoader& icons;
    Desktop& desktop;
    Dialogs& dialogs;
    ui::Screens screens; // the window's screens, as the program makes them
    QString outFolder;

    // Calls the stand-in service's control interface (it runs with --control in scripts/screenshots)
    // and answers the reply's body.
    QCoro::Task<QByteArray> control(QString method, QString path, QByteArray body = {});
};

// A scene prepares one state of a screen and answers the widget to photograph at `size`; a scene
// that saves its own picture (a modal dialog) answers null.
struct Scene
{
    QString name;
    QSize size;
    std::function<QCoro::Task<QWidget*>(SceneContext&)> make;
    // Runs once the picture is taken: puts back what the scene changed on the service.
    std::function<QCoro::Task<>(SceneContext&)> after = {};
};

// Every scene known, in the order they are rendered.
std::vector<Scene>& scenes();

// Adds scenes from a file's static initialiser.
struct SceneRegistration
{
    SceneRegistration(std::initializer_list<Scene> list);
};

// Waits until `done` holds or `limit` passes, letting the event loop run.
QCoro::Task<bool> waitUntil(std::function<bool()> done, int limitMs = 15000);

// Saves `widget` as OUT/name.png; answers whether it was written.
bool save(QWidget& widget, const QString& outFolder, const QString& name);

// A page of the window's size with the palette's window colour, for a piece shown on its own.
QWidget* page(QWidget* content, int margin = 24);

} // namespace brightloom::screens
