#include "ideas.h"

namespace brightloom {

QStringList appIdeas()
{
    return {
        QStringLiteral("A menu bar timer with a Pomodoro countdown"),
        QStringLiteral("A Markdown notes app with a live preview"),
        QStringLiteral("A tool that renames files in bulk"),
        QStringLiteral("A clipboard history that lives in the menu bar"),
        QStringLiteral("A habit tracker with a weekly streak chart"),
        QStringLiteral("A color picker that saves palettes"),
    };
}

} // namespace brightloom
