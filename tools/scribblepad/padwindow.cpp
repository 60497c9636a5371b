#include "padwindow.h"

#include <QAction>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QSpinBox>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>

namespace {
const char *stateName(InkCanvas::State state)
{
    switch (state) {
    case InkCanvas::State::Pending:
        return "pending";
    case InkCanvas::State::Ink:
        return "ink";
    case InkCanvas::State::Figure:
        return "figure";
    }
    return "";
}
} // namespace

PadWindow::PadWindow(const PadOptions &options)
    : m_canvas(new InkCanvas(this))
{
    setCentralWidget(m_canvas);
    m_canvas->setPauseMs(options.pauseMs);
    m_canvas->setCornerLimit(options.cornerLimit);
    m_canvas->setNormalize(options.normalize);
    setFileName(QString());

    QMenu *fileMenu = menuBar()->addMenu(tr("&File"));
    QAction *openAction = fileMenu->addAction(tr("&Open..."), this, &PadWindow::open);
    openAction->setShortcut(QKeySequence::Open);
    QAction *saveAction = fileMenu->addAction(tr("&Save As..."), this, &PadWindow::save);
    saveAction->setShortcut(QKeySequence::Save);
    QAction *clearAction = fileMenu->addAction(tr("&Clear"), m_canvas, &InkCanvas::clear);
    clearAction->setShortcut(QKeySequence(Qt::CTRL + Qt::Key_N));
    fileMenu->addSeparator();
    fileMenu->addAction(tr("&Quit"), this, &QWidget::close)->setShortcut(QKeySequence::Quit);

    QMenu *editMenu = menuBar()->addMenu(tr("&Edit"));
    QAction *undoAction = m_canvas->undoStack()->createUndoAction(this, tr("&Undo"));
    undoAction->setShortcut(QKeySequence::Undo);
    QAction *redoAction = m_canvas->undoStack()->createRedoAction(this, tr("&Redo"));
    redoAction->setShortcut(QKeySequence::Redo);
    connect(undoAction, &QAction::triggered, this, [this] { report("undo"); });
    connect(redoAction, &QAction::triggered, this, [this] { report("redo"); });
    QAction *classifyAction = new QAction(tr("Classify &now"), this);
    classifyAction->setShortcuts({ QKeySequence(Qt::Key_Space), QKeySequence(Qt::Key_Return) });
    connect(classifyAction, &QAction::triggered, m_canvas, &InkCanvas::classifyNow);
    QAction *normalizeAction = new QAction(tr("&Normalise shapes"), this);
    normalizeAction->setCheckable(true);
    normalizeAction->setChecked(options.normalize);
    normalizeAction->setToolTip(tr("Snap polygons to the regular form they are close to"));
    connect(normalizeAction, &QAction::toggled, m_canvas, &InkCanvas::setNormalize);
    editMenu->addActions({ undoAction, redoAction, classifyAction, normalizeAction });

    m_cornerLimit = new QSpinBox(this);
    m_cornerLimit->setRange(3, 64);
    m_cornerLimit->setValue(options.cornerLimit);
    m_cornerLimit->setPrefix(tr("Corner limit: "));
    m_cornerLimit->setToolTip(tr("Closed figures with more corners count as curves"));
    connect(m_cornerLimit, QOverload<int>::of(&QSpinBox::valueChanged), m_canvas,
        &InkCanvas::setCornerLimit);
    m_pause = new QDoubleSpinBox(this);
    m_pause->setRange(0.1, 10.0);
    m_pause->setSingleStep(0.1);
    m_pause->setDecimals(1);
    m_pause->setValue(options.pauseMs / 1000.0);
    m_pause->setPrefix(tr("Pause: "));
    m_pause->setSuffix(tr(" s"));
    m_pause->setToolTip(tr("Time without drawing after which the scribble is classified"));
    connect(m_pause, QOverload<double>::of(&QDoubleSpinBox::valueChanged), m_canvas,
        [this](double seconds) { m_canvas->setPauseMs(int(seconds * 1000.0 + 0.5)); });

    QToolBar *tools = addToolBar(tr("Tools"));
    tools->setObjectName("tools");
    tools->setMovable(false);
    tools->addActions(
        { openAction, saveAction, undoAction, redoAction, classifyAction, normalizeAction });
    tools->addSeparator();
    tools->addWidget(m_cornerLimit);
    tools->addWidget(m_pause);
    // The spin boxes must not keep the keyboard: space and return classify.
    m_cornerLimit->setFocusPolicy(Qt::ClickFocus);
    m_pause->setFocusPolicy(Qt::ClickFocus);

    m_status = new QLabel(tr("Draw a figure"), this);
    m_status->setObjectName("category");
    m_status->setAccessibleName(tr("Recognised category"));
    statusBar()->addWidget(m_status, 1);
    connect(m_canvas, &InkCanvas::classified, this, &PadWindow::onClassified);

    if (!options.reportFile.isEmpty()) {
        m_report.setFileName(options.reportFile);
        if (!m_report.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text))
            qWarning(
                "scribblepad: cannot write the report file %s", qPrintable(options.reportFile));
    }
    m_canvas->setFocus();
    resize(900, 700);
}

bool PadWindow::openFile(const QString &path)
{
    Strokes strokes;
    QString error;
    if (!loadInk(path, strokes, &error)) {
        statusBar()->showMessage(error, 10000);
        QMessageBox::warning(this, tr("Open"), tr("Cannot open the ink file.\n%1").arg(error));
        return false;
    }
    setFileName(path);
    m_canvas->load(strokes);
    report("opened");
    return true;
}

bool PadWindow::saveFile(const QString &path)
{
    QString error;
    if (!saveInk(path, m_canvas->visibleStrokes(), &error)) {
        QMessageBox::warning(this, tr("Save"), tr("Cannot save the ink file.\n%1").arg(error));
        return false;
    }
    setFileName(path);
    statusBar()->showMessage(tr("Saved %1").arg(path), 5000);
    report("saved");
    return true;
}

void PadWindow::open()
{
    const QString path = QFileDialog::getOpenFileName(
        this, tr("Open ink"), m_fileName, tr("Ink files (*.ink);;All files (*)"));
    if (!path.isEmpty())
        openFile(path);
}

void PadWindow::save()
{
    QString path = QFileDialog::getSaveFileName(
        this, tr("Save ink"), m_fileName, tr("Ink files (*.ink);;All files (*)"));
    if (path.isEmpty())
        return;
    if (QFileInfo(path).suffix().isEmpty())
        path += QStringLiteral(".ink");
    saveFile(path);
}

void PadWindow::setFileName(const QString &path)
{
    m_fileName = path;
    setWindowTitle(path.isEmpty()
            ? QStringLiteral("scribblepad")
            : QStringLiteral("%1 - scribblepad").arg(QFileInfo(path).fileName()));
}

void PadWindow::onClassified(const Recognition &recognition)
{
    m_last = recognition;
    m_status->setText(statusText(recognition));
    report("classified");
}

void PadWindow::showEvent(QShowEvent *event)
{
    QMainWindow::showEvent(event);
    if (m_readySent)
        return;
    m_readySent = true;
    // Give the window manager time to place the window before telling where it is.
    QTimer::singleShot(500, this, [this] { report("ready"); });
}

void PadWindow::report(const QString &event)
{
    if (!m_report.isOpen())
        return;
    QJsonObject o;
    o["event"] = event;
    if (event == "ready") {
        const QPoint at = m_canvas->mapToGlobal(QPoint(0, 0));
        o["canvas"] = QJsonArray { at.x(), at.y(), m_canvas->width(), m_canvas->height() };
        o["window"] = QString::number(window()->winId());
    }
    o["status"] = m_status->text();
    o["category"] = m_last.category;
    o["name"] = categoryName(m_last.category);
    o["corners"] = m_last.corners.size();
    QJsonArray scribbles;
    for (const InkCanvas::Scribble &s : m_canvas->scribbles()) {
        QJsonObject item;
        item["state"] = stateName(s.state);
        item["strokes"] = s.ink.size();
        if (s.state != InkCanvas::State::Pending)
            item["category"] = s.recognition.category;
        if (s.state == InkCanvas::State::Figure) {
            item["lines"] = s.figure.size();
            if (s.recognition.category == 102)
                item["corners"] = s.recognition.corners.size();
            const CFigureRecogniser::CEllipseFit &e = s.recognition.ellipse;
            if (s.recognition.category == 101 && e.ok)
                item["ellipse"] = QJsonObject { { "cx", e.cx }, { "cy", e.cy }, { "rx", e.rx },
                    { "ry", e.ry }, { "angle", e.angle } };
        }
        scribbles << item;
    }
    o["scribbles"] = scribbles;
    m_report.write(QJsonDocument(o).toJson(QJsonDocument::Compact) + '\n');
    m_report.flush();
}
