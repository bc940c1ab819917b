// A window with a timer of 10 ms that does nothing: what our idle window cannot do without. Runs until it is killed.

#include <QApplication>
#include <QLabel>
#include <QTimer>

#include <chrono>

using namespace std::chrono_literals;

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    QLabel window;
    window.resize(700, 500);
    window.show();
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &window, [] {});
    timer.start(10ms);
    return QApplication::exec();
}
