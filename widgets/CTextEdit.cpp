#include "widgets/CTextEdit.h"

#include "widgets/CFrame.h"
#include "widgets/Utf8.h"

#include <cmath>
#include <cstring>

namespace {
constexpr CColor kSelectionColor{60, 110, 200, 255};
constexpr CCoord kTextInset = 2;
} // namespace

CTextEdit::CTextEdit(const CRect& size_, CControlListener* l, long tag_, const char* text_,
                     CBitmap* background, long style_)
    : CTextLabel(size_, text_, background, style_) {
    listener = l;
    tag = tag_;
    bMouseEnabled = true;
    bWantsFocus = true;
}

void CTextEdit::setText(const char* newText) {
    CTextLabel::setText(newText);
    if (std::strlen(getText()) > kMaxTextLength) {
        text.resize(kMaxTextLength);
    }
}

void CTextEdit::getText(char* txt) const {
    if (txt == nullptr) {
        return;
    }
    const std::size_t n = std::min(text.size(), kMaxTextLength);
    std::memcpy(txt, text.data(), n);
    txt[n] = '\0';
}

void CTextEdit::setValue(float val) {
    CTextLabel::setValue(val);
    // With a conversion the box shows the value; keep the text in step for getText.
    if ((stringConvert || stringConvert2) && !editing) {
        text = valueToString(value);
    }
}

void CTextEdit::beginEdit() {
    editBegun = true;
    CTextLabel::beginEdit();
}

void CTextEdit::finishEditing() {
    setDirty();
    if (editBegun) {
        editBegun = false;
        CTextLabel::endEdit();
    }
}

void CTextEdit::openEditor() {
    if (CFrame* frame = getFrame()) {
        frame->setFocusView(this);
    } else {
        takeFocus();
    }
}

void CTextEdit::mouse(CPoint&, long buttons) {
    if (!bMouseEnabled || !(buttons & kLButton) || editing) {
        return;
    }
    if ((style & kDoubleClickStyle) && !(buttons & kDoubleClick)) {
        return;
    }
    beginEdit();
    openEditor();
}

void CTextEdit::takeFocus() {
    if (editing) {
        return;
    }
    editing = true;
    original = text;
    buffer = text;
    anchor = 0;
    caret = buffer.size();
    setDirty();
}

void CTextEdit::looseFocus() {
    if (editing) {
        commit();
    }
}

void CTextEdit::commit() {
    editing = false;
    selecting = false;
    text = buffer;
    float parsed = value;
    if (valueConvert != nullptr) {
        if (!stringToValue(text.c_str(), parsed)) {
            // Unreadable input changes nothing.
            text = original;
            finishEditing();
            return;
        }
        value = parsed;
        bounceValue();
    }
    notifyValueChanged();
    finishEditing();
}

void CTextEdit::cancel() {
    editing = false;
    selecting = false;
    buffer = original;
    text = original;
    finishEditing();
}

void CTextEdit::deleteSelection() {
    const std::size_t from = getSelectionStart();
    const std::size_t to = getSelectionEnd();
    buffer.erase(from, to - from);
    caret = anchor = from;
}

void CTextEdit::insertText(const std::string& s) {
    deleteSelection();
    if (buffer.size() + s.size() > kMaxTextLength) {
        return;
    }
    buffer.insert(caret, s);
    caret += s.size();
    anchor = caret;
}

long CTextEdit::onKeyDown(VstKeyCode& key) {
    if (!editing) {
        return -1;
    }
    const bool shift = key.modifier & MODIFIER_SHIFT;
    const bool command = key.modifier & (MODIFIER_COMMAND | MODIFIER_CONTROL);
    switch (key.virt) {
    case VKEY_RETURN:
    case VKEY_ENTER:
        commit();
        if (CFrame* frame = getFrame()) {
            frame->setFocusView(nullptr);
        }
        return 1;
    case VKEY_ESCAPE:
        cancel();
        if (CFrame* frame = getFrame()) {
            frame->setFocusView(nullptr);
        }
        return 1;
    case VKEY_BACK:
        if (anchor == caret) {
            anchor = utf8::previous(buffer, caret);
        }
        deleteSelection();
        break;
    case VKEY_DELETE:
        if (anchor == caret) {
            anchor = utf8::next(buffer, caret);
        }
        deleteSelection();
        break;
    case VKEY_LEFT:
        if (!shift && anchor != caret) {
            caret = getSelectionStart();
        } else {
            caret = utf8::previous(buffer, caret);
        }
        if (!shift) {
            anchor = caret;
        }
        break;
    case VKEY_RIGHT:
        if (!shift && anchor != caret) {
            caret = getSelectionEnd();
        } else {
            caret = utf8::next(buffer, caret);
        }
        if (!shift) {
            anchor = caret;
        }
        break;
    case VKEY_HOME:
        caret = 0;
        if (!shift) {
            anchor = caret;
        }
        break;
    case VKEY_END:
        caret = buffer.size();
        if (!shift) {
            anchor = caret;
        }
        break;
    case VKEY_SPACE:
        insertText(" ");
        break;
    default:
        if (command && (key.character == 'a' || key.character == 'A')) {
            anchor = 0;
            caret = buffer.size();
        } else if (!command && key.character >= 32 && key.character != 127) {
            insertText(utf8::encode(key.character));
        } else {
            return -1;
        }
    }
    setDirty();
    return 1;
}

double CTextEdit::measure(const std::string& s) const {
    static COffscreenContext measuring(1, 1);
    measuring.setFont(fontID);
    return measuring.getStringWidth(s.c_str());
}

double CTextEdit::textOrigin(double textWidth) const {
    const double left = size.left + kTextInset;
    const double width = size.width() - 2 * kTextInset;
    if (horiTxtAlign == kCenterText) {
        return std::floor(left + (width - textWidth) / 2.0);
    }
    if (horiTxtAlign == kRightText) {
        return std::floor(left + width - textWidth);
    }
    return left;
}

std::size_t CTextEdit::caretFromPoint(const CPoint& where) const {
    const double x0 = textOrigin(measure(buffer));
    std::size_t best = 0;
    double bestDistance = std::abs(where.h - x0);
    for (std::size_t pos = utf8::next(buffer, 0); pos <= buffer.size() && pos > 0;
         pos = utf8::next(buffer, pos)) {
        const double d = std::abs(where.h - (x0 + measure(buffer.substr(0, pos))));
        if (d < bestDistance) {
            bestDistance = d;
            best = pos;
        }
        if (pos == buffer.size()) {
            break;
        }
    }
    return best;
}

CMouseEventResult CTextEdit::onMouseDown(CPoint& where, const long& buttons) {
    if (!editing) {
        return CTextLabel::onMouseDown(where, buttons);
    }
    if (!(buttons & kLButton)) {
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    if (buttons & kDoubleClick) {
        anchor = 0;
        caret = buffer.size();
        setDirty();
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    caret = caretFromPoint(where);
    if (!(buttons & kShift)) {
        anchor = caret;
    }
    selecting = true;
    setDirty();
    return kMouseEventHandled;
}

CMouseEventResult CTextEdit::onMouseMoved(CPoint& where, const long&) {
    if (!selecting) {
        return kMouseEventNotHandled;
    }
    caret = caretFromPoint(where);
    setDirty();
    return kMouseEventHandled;
}

CMouseEventResult CTextEdit::onMouseUp(CPoint&, const long&) {
    if (!selecting) {
        return kMouseEventNotHandled;
    }
    selecting = false;
    return kMouseEventHandled;
}

void CTextEdit::draw(CDrawContext* context) {
    if (!editing) {
        const bool converted = stringConvert || stringConvert2;
        drawText(context, converted ? valueToString(value).c_str() : text.c_str());
        setDirty(false);
        return;
    }
    // An open box always shows its field so the caret has something to sit on.
    context->setFillColor(backColor);
    context->fillRect(size);
    drawFrame(context);
    context->setFont(fontID);
    const double x0 = textOrigin(context->getStringWidth(buffer.c_str()));
    auto xAt = [&](std::size_t pos) {
        return x0 + context->getStringWidth(buffer.substr(0, pos).c_str());
    };
    if (anchor != caret) {
        const auto l = static_cast<CCoord>(std::floor(xAt(getSelectionStart())));
        const auto r = static_cast<CCoord>(std::ceil(xAt(getSelectionEnd())));
        context->setFillColor(kSelectionColor);
        context->fillRect(CRect(l, size.top + 1, r, size.bottom - 1));
    }
    CRect textRect(static_cast<CCoord>(std::floor(x0)), size.top,
                   static_cast<CCoord>(std::ceil(xAt(buffer.size()))) + 1, size.bottom);
    textRect.bound(size);
    context->setFontColor(fontColor);
    context->drawString(buffer.c_str(), textRect, false, kLeftText);
    const auto caretX = static_cast<CCoord>(std::lround(xAt(caret)));
    context->setFrameColor(fontColor);
    context->setLineWidth(1);
    context->setLineStyle(kLineSolid);
    context->setDrawMode(kCopyMode);
    context->drawLine(CPoint(caretX, size.top + 2), CPoint(caretX, size.bottom - 3));
    setDirty(false);
}
