#pragma once

#include "panel/operator.h"
#include "panel/panel.h"

#include <QWidget>

#include <map>

class QListView;
class QTimer;

namespace sim::view {

class RowsModel;

// The window: one widget per control of the table, placed at its twips position. It mirrors the
// model's properties and turns what the operator does into the model's operator actions; no rule of
// the form lives here.
class PanelView : public QWidget {
    Q_OBJECT
public:
    PanelView(Panel& panel, Operator& op);
    ~PanelView() override;

    QWidget* widgetFor(const Control& control) const;
    // Shows pending list rows now instead of at the next batch.
    void flushRows();

    // Client area in pixels for the form's outer size in twips.
    static QSize clientSize(int widthTwips, int heightTwips);
    // Where a window of this size stands centred on a screen's free area; one too large for it keeps
    // its top-left corner on the area, so that its title bar stays in reach.
    static QPoint centredOn(const QRect& available, const QSize& size);

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    friend class BoxEdit;
    void build();
    QWidget* create(Control& control, QWidget* parent);
    void changed(Control* control, Prop prop);
    void push(Control& control);
    void pushFocus(Control* control);
    void pushSize();
    void reportFocus(QObject* watched, Qt::FocusReason reason);
    // True once for the box that a click has just put the focus into, when the model selected text
    // in it on entry: the click must not put the caret over that selection.
    bool takeEntrySelection(const TextBox& box);

    Panel& panel_;
    Operator& op_;
    std::map<const Control*, QWidget*> widgets_;
    std::map<const QWidget*, Control*> controls_;
    QListView* list_ = nullptr;
    RowsModel* rows_ = nullptr;
    QTimer* rowTimer_ = nullptr;
    bool pushing_ = false;
    const Control* entering_ = nullptr;
    bool entrySelected_ = false;
    const Control* keptSelection_ = nullptr;
};

} // namespace sim::view
