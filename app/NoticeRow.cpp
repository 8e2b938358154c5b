#include "app/NoticeRow.h"

#include "app/ElidedLabel.h"
#include "app/Look.h"
#include "app/PushButton.h"
#include "app/ShownText.h"

#include <QAccessible>
#include <QHBoxLayout>

namespace corvane {

namespace {

/// A press so soon after a notice took the place of another was meant for the other.
constexpr int replacementPause = 400; // milliseconds

/// The action's title leaves room for the words; points.
constexpr int widestTitle = 220;

} // namespace

NoticeRow::NoticeRow(QWidget *parent)
    : QFrame(parent), words(new ElidedLabel), action(button("noticeAction")),
      dismissal(button("noticeDismiss")) {
    setObjectName(QStringLiteral("noticeRow"));
    setAccessibleName(QStringLiteral("Notice"));
    setMaximumHeight(fullHeight);
    words->setObjectName(QStringLiteral("noticeText"));
    words->setFont(look::font(12));
    words->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Expanding);
    dismissal->setText(QStringLiteral("✕"));
    dismissal->setAccessibleName(QStringLiteral("Dismiss this notice"));
    dismissal->setToolTip(QStringLiteral("Put this away until there is something else to say"));
    auto *columns = new QHBoxLayout(this);
    columns->setContentsMargins(11, 1, 4, 1);
    columns->setSpacing(8);
    columns->addWidget(words, 1);
    columns->addWidget(action);
    columns->addWidget(dismissal);
    connect(action, &QPushButton::clicked, this, [this] { pressed(onAction); });
    connect(dismissal, &QPushButton::clicked, this, [this] { pressed(onDismissal); });
    hide();
}

QPushButton *NoticeRow::button(const char *name) {
    auto *made = new PushButton(this);
    made->setObjectName(QString::fromUtf8(name));
    made->setFont(look::font(12));
    made->setFocusPolicy(Qt::TabFocus);
    return made;
}

void NoticeRow::setNotice(const QString &text, const QString &actionTitle, const QString &detail) {
    const bool isAnother = words->text() != text || action->accessibleName() != actionTitle;
    if (isVisible() && !text.isEmpty() && isAnother)
        replaced.start();
    words->setText(text);
    words->setDetail(detail);
    const QString title = oneLine(actionTitle);
    const QString shown = action->fontMetrics().elidedText(title, Qt::ElideMiddle, widestTitle);
    action->setText(QString(shown).replace(u'&', QStringLiteral("&&"))); // no key is meant
    action->setToolTip(plainToolTip((shown == title ? detail : actionTitle + "\n\n" + detail).trimmed()));
    action->setAccessibleName(actionTitle);
    action->setAccessibleDescription((text + "\n" + detail).trimmed());
    action->setVisible(!actionTitle.isEmpty());
    setAccessibleDescription(text);
    setVisible(!text.isEmpty());
    if (text.isEmpty()) {
        replaced.invalidate();
    } else if (isAnother) {
        QAccessibleEvent said(this, QAccessible::Alert);
        QAccessible::updateAccessibility(&said);
    }
}

void NoticeRow::pressed(const std::function<void()> &reaction) const {
    if (reaction && (!replaced.isValid() || replaced.hasExpired(replacementPause)))
        reaction();
}

} // namespace corvane
