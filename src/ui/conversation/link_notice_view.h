#pragma once

#include "conversation/link_notice.h"

#include <QFrame>
#include <optional>

class QLabel;

namespace brightloom::ui {

// The note under the request when it names a GitHub repository: which one (in bold), what an
// import means, and a warning line when this Mac has no Xcode.
class LinkNoticeView final : public QFrame
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LinkNoticeView)

public:
    explicit LinkNoticeView(QWidget* parent = nullptr);

    // Hidden when there is no notice.
    void setNotice(const std::optional<LinkNotice>& notice);

    QLabel* found() const { return m_found; }
    QWidget* warning() const { return m_warning; }
    QLabel* warningText() const { return m_warningText; }

    // The first line as rich text, the name in bold.
    static QString foundRichText(const LinkNotice& notice);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QLabel* m_found;
    QLabel* m_explanation;
    QWidget* m_warning;
    QLabel* m_warningText;
};

} // namespace brightloom::ui
