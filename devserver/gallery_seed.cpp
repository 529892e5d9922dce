// The gallery every data folder starts with: apps "shared by others", owned by a gallery account
// nobody can sign in to. The ones that offer a template have a finished job to fork; their files
// are made the first time someone asks for them.

#include "gallery_seed.h"

#include "credentials.h"
#include "job_clock.h"

namespace brightloom::devserver {

namespace {

struct SeedApp
{
    const char* slug;
    const char* name;
    const char* tagline;
    const char* blurb;
    const char* category;
    bool starred;
    bool ai;
    qint64 views;
    qint64 favorites;
    bool isTemplate;
    const char* prompt;
};

const SeedApp seedApps[] = {
    {"pomodoro-focus", "Pomodoro Focus", "Work in 25-minute sprints",
     "A menu-bar timer with short and long breaks, "
     "a daily streak and a gentle chime.",
     "Productivity", true, false, 5120, 312, true,
     "a pomodoro timer in the menu bar with breaks and a daily streak"},
    {"recipe-box", "Recipe Box", "Every recipe in one place",
     "Save recipes, scale servings and build a "
     "shopping list from the week's plan.",
     "Food", true, false, 3890, 201, true, "a recipe box that scales servings and makes shopping lists"},
    {"markdown-notes", "Markdown Notes", "Notes with a live preview",
     "Write in Markdown, see it rendered "
     "beside the text, and find anything with full-text search.",
     "Writing", false, false, 7400, 420, true, "markdown notes with a live preview and search"},
    {"habit-grid", "Habit Grid", "A year of habits at a glance",
     "Tick off habits every day and watch the "
     "grid fill up.",
     "Health", false, false, 2210, 98, true, "a habit tracker that shows a year as a grid"},
    {"photo-caption", "Photo Caption", "Describe photos on this Mac",
     "Writes captions for your photos with "
     "a small on-device model.",
     "Photos", true, true, 6120, 377, false, "an app that captions photos with an on-device model"},
    {"unit-convert", "Unit Convert", "Convert anything, fast",
     "Lengths, weights, temperatures and "
     "currencies from one text field.",
     "Utilities", false, false, 1800, 64, true, "a unit converter with one text field"},
    {"focus-sounds", "Focus Sounds", "Rain, cafe and waves",
     "Mix background sounds to help you focus or "
     "fall asleep.",
     "Health", false, false, 2950, 143, false, "a mixer of background sounds"},
    {"invoice-maker", "Invoice Maker", "Invoices in a minute",
     "Fill in the client and the hours; get a "
     "tidy PDF to send.",
     "Business", false, false, 1340, 51, true, "an invoice maker that exports PDFs"},
    {"chat-summary", "Chat Summary", "Long threads, short summaries",
     "Paste a conversation and get the "
     "decisions and to-dos out of it.",
     "Productivity", true, true, 8010, 512, false,
     "an app that summarises chat threads into decisions and to-dos"},
    {"plant-water", "Plant Water", "Never forget the ferns",
     "Reminders for every plant, tuned to the "
     "season.",
     "Home", false, false, 990, 37, true, "plant watering reminders"},
    {"color-picker", "Color Picker", "Grab any colour on screen",
     "Pick colours anywhere and copy them as "
     "hex, RGB or SwiftUI code.",
     "Design", false, false, 4100, 188, true, "a colour picker that copies SwiftUI code"},
    {"flash-cards", "Flash Cards", "Learn with spaced repetition",
     "Make decks, review what is due, and "
     "see how well you know each card.",
     "Education", false, true, 3300, 156, true, "flash cards with spaced repetition"},
    {"budget-book", "Budget Book", "Where did the money go?",
     "Import a bank statement and see spending by "
     "category month by month.",
     "Finance", false, false, 2700, 120, false, "a budget book that imports statements"},
    {"weather-glance", "Weather Glance", "Tomorrow, in one look",
     "A small window with the next 24 hours "
     "of weather.",
     "Utilities", false, false, 5600, 230, true, "a small weather window for the next day"},
};

} // namespace

void seedGallery(Store& store)
{
    // Remembered in the data folder, so a gallery app removed by hand stays removed.
    if (store.meta(QStringLiteral("gallery-seeded")))
        return;
    const std::optional<User> owner = store.createUser(QStringLiteral("Brightloom Gallery"),
                                                       QStringLiteral("gallery@brightloom.test"), newToken());
    for (const SeedApp& seed : seedApps) {
        GalleryEntry app;
        app.slug = QString::fromLatin1(seed.slug);
        app.name = QString::fromUtf8(seed.name);
        app.tagline = QString::fromUtf8(seed.tagline);
        app.blurb = QString::fromUtf8(seed.blurb);
        app.category = QString::fromUtf8(seed.category);
        app.starred = seed.starred;
        app.ai = seed.ai;
        app.views = seed.views;
        app.favorites = seed.favorites;
        if (seed.isTemplate && owner) {
            NewProject draft;
            draft.name = app.name;
            draft.templatePublic = true;
            const Project project = store.createProject(owner->id, draft);
            Job job;
            job.projectId = project.id;
            job.prompt = QString::fromUtf8(seed.prompt);
            job.status = QStringLiteral("ready");
            job.step = 5;
            job.appName = app.name;
            job.version = QStringLiteral("1.0");
            job.summary = QStringLiteral("First version");
            app.templateJob = store.createJob(job).id;
        }
        store.addGalleryApp(app);
    }
    store.setMeta(QStringLiteral("gallery-seeded"),
                  QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs));
}

} // namespace brightloom::devserver
