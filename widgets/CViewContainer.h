#pragma once

#include "widgets/CView.h"

#include <memory>
#include <vector>

// A view holding child views, which it owns. Children's rectangles are relative
// to the container's top left. The last added child is drawn last and is the
// first to be offered a mouse press.
class CViewContainer : public CView {
public:
    CViewContainer(const CRect& size, CFrame* frame = nullptr, CBitmap* background = nullptr);
    ~CViewContainer() override;

    // Takes ownership of the view. Returns false (and deletes nothing) for null.
    bool addView(CView* view);
    bool addView(CView* view, const CRect& mouseableArea, bool mouseEnabled = true);
    bool addView(std::unique_ptr<CView> view);
    // Destroys the child.
    bool removeView(CView* view);
    // Detaches the child and hands it back, e.g. an overlay page shown again later.
    std::unique_ptr<CView> releaseView(CView* view);
    void removeAll();
    bool isChild(const CView* view) const;
    // True when view is a child or a child of a child container.
    bool isDescendant(const CView* view) const;
    int getNbViews() const { return static_cast<int>(children.size()); }
    CView* getView(int index) const;

    void setBackgroundColor(const CColor& color);
    CColor getBackgroundColor() const { return backgroundColor; }

    void draw(CDrawContext* context) override;
    void drawRect(CDrawContext* context, const CRect& updateRect) override;
    CMouseEventResult onMouseDown(CPoint& where, const long& buttons) override;
    bool onWheel(const CPoint& where, float distance, const long& buttons) override;
    bool isDirty() const override;
    void setDirty(bool val = true) override;
    void attached(CView* parent, CFrame* frame) override;
    void removed() override;
    bool isContainer() const override { return true; }

    // Adds the rectangles (in frame coordinates) of dirty views below this one.
    void collectDirtyRects(CRect& region, CPoint origin) const;

protected:
    void drawBackgroundRect(CDrawContext* context, const CRect& rect);
    CPoint childOrigin() const;

    std::vector<std::unique_ptr<CView>> children;
    CColor backgroundColor = kBlackCColor;
    bool drawBackgroundColor = false;
};
