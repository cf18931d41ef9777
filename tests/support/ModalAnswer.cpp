#include "ModalAnswer.h"

#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QTimer>

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

void withdrawModalAnswers()
{
    const QList<QTimer*> timers = qApp->findChildren<QTimer*>(QLatin1String(AnswerTimerName), Qt::FindDirectChildrenOnly);
    for (QTimer* timer : timers) {
        timer->stop();
        timer->deleteLater();
    }
}
