#pragma once

#include "widgets/CTextLabel.h"

// A text box the user can type into. A left press opens it (takes the keyboard
// focus, whole text selected); while open it has a caret and a selection, moved
// with the arrow keys, Home and End (Shift extends), the mouse (press and drag,
// double click selects all) and Ctrl/Cmd+A. Return or Enter commits: the text is
// kept, read through the value conversion when there is one, and reported with
// valueChanged. Escape cancels and restores the text. Losing the focus (a press
// elsewhere) commits. Outside editing the box shows the value through the string
// conversion when one is set, else its text.
class CTextEdit : public CTextLabel {
public:
    CTextEdit(const CRect& size, CControlListener* listener, long tag, const char* text = nullptr,
              CBitmap* background = nullptr, long style = 0);

    void draw(CDrawContext* context) override;
    void mouse(CPoint& where, long buttons) override;
    CMouseEventResult onMouseDown(CPoint& where, const long& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const long& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const long& buttons) override;
    long onKeyDown(VstKeyCode& keyCode) override;
    void takeFocus() override;
    void looseFocus() override;
    void beginEdit() override;
    void setValue(float val) override;
    void setText(const char* text) override;
    using CTextLabel::getText;
    // Copies the text (at most kParamDisplayTextSize bytes with the NUL).
    void getText(char* txt) const;

    bool isEditing() const { return editing; }
    std::size_t getCaret() const { return caret; }
    std::size_t getSelectionStart() const { return std::min(anchor, caret); }
    std::size_t getSelectionEnd() const { return std::max(anchor, caret); }
    const std::string& getEditText() const { return buffer; }
    // Opens the box for typing, as a press does.
    void openEditor();

    static constexpr std::size_t kMaxTextLength = kParamDisplayTextSize - 1;

protected:
    void commit();
    void cancel();
    void finishEditing();
    void insertText(const std::string& s);
    void deleteSelection();
    std::size_t caretFromPoint(const CPoint& where) const;
    double textOrigin(double textWidth) const;
    double measure(const std::string& s) const;

    bool editing = false;
    bool editBegun = false;
    bool selecting = false;
    std::string buffer;   // text being typed
    std::string original; // text before editing, for Escape
    std::size_t caret = 0;
    std::size_t anchor = 0;
};
