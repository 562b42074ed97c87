#pragma once

#include "widgets/CParamDisplay.h"

#include <string>
#include <vector>

class COptionMenuPopup;

// A field showing the current entry of a list. A left press opens the list as a
// pop-up over the frame; choosing an entry sets the value to its index and
// reports it as one gesture. A press outside the list or Escape closes it
// without a change; Up, Down and Return work as well.
class COptionMenu : public CParamDisplay {
public:
    COptionMenu(const CRect& size, CControlListener* listener, long tag,
                CBitmap* background = nullptr, CBitmap* bgWhenClick = nullptr, long style = 0);
    ~COptionMenu() override;

    // Appends (index < 0) or inserts an entry; false for a null text.
    bool addEntry(const char* txt, long index = -1);
    bool removeEntry(long index);
    void removeAllEntry();
    long getNbEntries() const { return static_cast<long>(entries.size()); }
    // Text of an entry; null for an index out of range.
    const char* getEntry(long index) const;
    bool getEntry(long index, char* txt) const;
    long getCurrent() const;
    bool setCurrent(long index);
    long getIndex(const char* txt) const;

    void setValue(float val) override;
    void draw(CDrawContext* context) override;
    void mouse(CPoint& where, long buttons) override;

    // Opening and closing the pop-up; open needs the menu to be in a frame.
    bool openPopup();
    void closePopup();
    // Called by the list when it is deleted while still open.
    void popupGone(COptionMenuPopup* gone) {
        if (popup == gone) {
            popup = nullptr;
        }
    }
    bool isPopupOpen() const { return popup != nullptr; }
    COptionMenuPopup* getPopup() const { return popup; }
    // Called by the pop-up when the user picks an entry.
    void selectEntry(long index);

protected:
    std::vector<std::string> entries;
    CBitmap* bgWhenClick;
    COptionMenuPopup* popup = nullptr; // owned by the frame while open
    CView* previousModal = nullptr;
};
