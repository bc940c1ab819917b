// A window that shows the time, once a second: what our idle window cannot do without. Runs until it is killed.

#include <QApplication>
#include <QLabel>
#include <QTime>
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
    QObject::connect(&timer, &QTimer::timeout, &window, [&window] { window.setText(QTime::currentTime().toString()); });
    timer.start(1s);
    return QApplication::exec();
}
