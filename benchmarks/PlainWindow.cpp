// A plain Qt program for comparison. Its window has the size of the settings window, and is empty or, with the argument "form",
// has Qt's own controls. The program prints "painted" and ends at its first frame, unless its argument is "stay".

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QPushButton>
#include <QTimer>
#include <cstdio>

namespace {

constexpr int formRows = 20; // about as many as on a settings page

class PlainWindow final : public QWidget {
public:
    explicit PlainWindow(const QStringList& arguments)
        : m_stays(arguments.contains(QStringLiteral("stay")))
    {
        resize(640, 520);
        if (arguments.contains(QStringLiteral("form")))
            makeForm();
    }

private:
    void makeForm()
    {
        auto* form = new QFormLayout(this);
        for (int row = 0; row < formRows; ++row)
            form->addRow(QStringLiteral("Row %1").arg(row), control(row % 3));
    }

    static QWidget* control(int kind)
    {
        if (kind == 0)
            return new QCheckBox;
        if (kind == 1)
            return new QPushButton(QStringLiteral("Check Now"));
        auto* picker = new QComboBox;
        picker->addItems({ QStringLiteral("None"), QStringLiteral("Usage"), QStringLiteral("Power") });
        return picker;
    }

    void paintEvent(QPaintEvent*) override
    {
        if (m_stays)
            return;
        QTimer::singleShot(0, qApp, [] {
            std::puts("painted");
            std::fflush(stdout);
            QCoreApplication::exit(0);
        });
    }

    bool m_stays;
};

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    QApplication::setStyle(QStringLiteral("fusion"));
    PlainWindow window(QApplication::arguments());
    window.show();
    return QApplication::exec();
}
