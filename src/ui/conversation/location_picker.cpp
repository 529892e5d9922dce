#include "location_picker.h"

#include "ui/shared/metrics.h"
#include "ui/shared/segmented_choice.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace brightloom::ui {

const QString LocationPicker::label = QStringLiteral("Compile on");
const QString LocationPicker::cloudText = QStringLiteral("Brightloom cloud");
const QString LocationPicker::localText = QStringLiteral("This Mac");

namespace {

// One half of the segmented control: the chosen half filled with the highlight, the halves joined
// along their inner edge.
QString segmentStyle(bool first)
{
    const QString corners =
        first ? QStringLiteral("border-top-left-radius: 7px; border-bottom-left-radius: 7px;")
              : QStringLiteral("border-top-right-radius: 7px; border-bottom-right-radius: 7px;"
                               " border-left: none;");
    return QStringLiteral("QPushButton { background: palette(base); color: palette(text);"
                          " border: 1px solid palette(mid); padding: 5px 10px; ") +
           corners +
           QStringLiteral(
               " }"
               "QPushButton:hover:!checked { background: palette(midlight); }"
               "QPushButton:checked { background: palette(highlight); color: palette(highlighted-text);"
               " border-color: palette(highlight); }");
}

} // namespace

LocationPicker::LocationPicker(QWidget* parent)
    : QWidget(parent), m_cloud(new SegmentButton(cloudText, this)),
      m_local(new SegmentButton(localText, this)), m_group(new QButtonGroup(this)),
      m_description(new QLabel(this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);

    // One group named "Compile on", holding two radio buttons, for a screen reader.
    auto* picker = new SegmentedChoice(label, this);
    picker->setFixedWidth(metrics::pickerWidth);
    auto* row = new QHBoxLayout(picker);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    auto* caption = new QLabel(label, picker);
    row->addWidget(caption);
    row->addSpacing(10);
    int id = 0;
    for (QPushButton* segment : {m_cloud, m_local}) {
        segment->setCursor(Qt::PointingHandCursor);
        segment->setStyleSheet(segmentStyle(segment == m_cloud));
        segment->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        m_group->addButton(segment, id++);
        row->addWidget(segment, 1);
    }
    m_group->setExclusive(true);
    layout->addWidget(picker, 0, Qt::AlignLeft);

    m_description->setWordWrap(true);
    m_description->setTextFormat(Qt::PlainText);
    m_description->setForegroundRole(QPalette::PlaceholderText);
    m_description->setAccessibleDescription(QStringLiteral("Build location description"));
    layout->addWidget(m_description);

    connect(m_group, &QButtonGroup::idClicked, this, [this](int which) {
        Q_EMIT chosen(which == 1 ? QStringLiteral("local") : QStringLiteral("cloud"));
    });
}

void LocationPicker::setLocation(const QString& location)
{
    (location == QLatin1String("local") ? m_local : m_cloud)->setChecked(true);
}

void LocationPicker::setDescription(const QString& text)
{
    m_description->setText(text);
}

} // namespace brightloom::ui
