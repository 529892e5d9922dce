#include "text_audit.h"

#include <QAbstractButton>
#include <QLabel>
#include <QRegularExpression>

namespace brightloom::soak {
namespace {

// The client's own failure texts, whole or as the start of the text.
const QStringList ownTexts = {
    QStringLiteral("The request timed out."),
    QStringLiteral("Could not unpack the downloaded app"),
    QStringLiteral("Bad download URL"),
};
const QStringList ownPrefixes = {
    QStringLiteral("Request failed ("),
    QStringLiteral("Could not reach the service: "),
    QStringLiteral("The service's reply "),
    QStringLiteral("The download failed ("),
};

bool looksLikeMarkup(const QString& text)
{
    static const QRegularExpression tag(QStringLiteral("<\\s*(html|body|h1|head|!doctype)\\b"),
                                        QRegularExpression::CaseInsensitiveOption);
    return tag.match(text).hasMatch();
}

bool isErrorLine(const QLabel& label)
{
    const QString description = label.accessibleDescription();
    return description == QLatin1String("Error") || description.endsWith(QLatin1String("error"));
}

bool expectedError(const QString& text, const QStringList& serviceMessages)
{
    if (text.isEmpty() || ownTexts.contains(text) || serviceMessages.contains(text))
        return true;
    for (const QString& prefix : ownPrefixes) {
        if (text.startsWith(prefix))
            return true;
    }
    return false;
}

} // namespace

QStringList unexpectedTexts(const QWidget* root, const QStringList& serviceMessages)
{
    QStringList found;
    const auto check = [&](const QString& text, bool errorLine) {
        if (looksLikeMarkup(text) || text.contains(QChar::ReplacementCharacter) ||
            (errorLine && !expectedError(text, serviceMessages)))
            found.append(text.left(200));
    };
    for (const QLabel* label : root->findChildren<QLabel*>()) {
        if (label->isVisibleTo(root))
            check(label->textFormat() == Qt::RichText ? QString() : label->text(), isErrorLine(*label));
    }
    for (const QAbstractButton* button : root->findChildren<QAbstractButton*>()) {
        if (button->isVisibleTo(root))
            check(button->text(), false);
    }
    return found;
}

} // namespace brightloom::soak
