#include "ModalAnswer.h"

#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QList>
#include <QPointer>
#include <QTimer>

#include <algorithm>

namespace {

const char* const AnswerTimerName = "zkModalAnswerTimer";

} // namespace

std::shared_ptr<bool> answerNextModal(std::function<void(QDialog*)> action, int timeoutMs)
{
    auto answered = std::make_shared<bool>(false);
    auto* timer = new QTimer(qApp);
    timer->setObjectName(QLatin1String(AnswerTimerName));
    auto clock = std::make_shared<QElapsedTimer>();
    clock->start();
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, action, answered, clock, timeoutMs] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (dialog && dialog->isVisible()) {
            timer->stop();
            timer->deleteLater();
            *answered = true;
            action(dialog);
            return;
        }
        if (clock->elapsed() > timeoutMs) {
            timer->stop();
            timer->deleteLater();
        }
    });
    timer->start();
    return answered;
}

std::shared_ptr<void> answerEveryModal(std::function<void(QDialog*)> action)
{
    auto* timer = new QTimer;
    timer->setInterval(5);
    auto answered = std::make_shared<QList<QPointer<QDialog>>>();
    QObject::connect(timer, &QTimer::timeout, timer, [action, answered] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible())
            return;
        // A dialog whose action did not close it is not answered again on every tick; once hidden,
        // the same object shown again is a new question.
        answered->erase(std::remove_if(answered->begin(), answered->end(),
                                       [](const QPointer<QDialog>& d) { return !d || !d->isVisible(); }),
                        answered->end());
        if (answered->contains(dialog))
            return;
        answered->append(dialog);
        action(dialog);
    });
    timer->start();
    return std::shared_ptr<void>(timer, [](void* p) { delete static_cast<QTimer*>(p); });
}

void withdrawModalAnswers()
{
    const QList<QTimer*> timers = qApp->findChildren<QTimer*>(QLatin1String(AnswerTimerName), Qt::FindDirectChildrenOnly);
    for (QTimer* timer : timers) {
        timer->stop();
        timer->deleteLater();
    }
}
