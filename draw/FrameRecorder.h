// Partial redraw. A frame is first recorded: the walk hands every mesh to this sink, which keeps it
// with the matrices, viewport, scissor and blend state it would be drawn with, and a hash of all
// of that. Compared with the frame recorded before, mesh by mesh, the changed, added, removed and
// reordered meshes give the damage: window rectangles around their old and new pictures. The
// frame is then drawn from the record, rectangle by rectangle, cleared and clipped to it, with
// only the meshes that reach it; outside, the back buffer keeps the pixels it holds.
#pragma once

#include <cstdint>

#include "core/Matrix.h"
#include "gl/Renderer.h"

namespace kesto {

// Window rectangles in GL coordinates (y from the bottom), half open; a few at most, merged when
// there would be more.
class Damage {
  public:
    struct Rect {
        int32_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;
        bool empty() const { return x0 >= x1 || y0 >= y1; }
        int64_t area() const { return empty() ? 0 : int64_t{x1 - x0} * (y1 - y0); }
        bool meets(const Rect& o) const { return x0 < o.x1 && o.x0 < x1 && y0 < o.y1 && o.y0 < y1; }
        Rect unite(const Rect& o) const;
        Rect clip(const Rect& o) const;
    };
    static constexpr int kMaximumRects = 8;

    void add(Rect rect);
    void add(const Damage& other);
    void clear() { count_ = 0; }
    bool empty() const { return count_ == 0; }
    int count() const { return count_; }
    const Rect& operator[](int i) const { return rects_[i]; }
    int64_t area() const;

  private:
    Rect rects_[kMaximumRects + 1];
    int count_ = 0;
};

class FrameRecorder final : public DrawSink {
  public:
    FrameRecorder() = default;
    ~FrameRecorder();
    FrameRecorder(const FrameRecorder&) = delete;
    FrameRecorder& operator=(const FrameRecorder&) = delete;

    // Starts recording a frame of a window of this size; the renderer records too.
    void begin(Renderer& renderer, int width, int height);
    bool add(Renderer& renderer, DrawItem& item) override;
    void flush(Renderer&, FrameStats::Break) override {}
    // Ends the recording and adds what changed since the frame recorded before to `damage`.
    // False when the frame could not be recorded whole (memory ran out): draw it by walking the
    // scene, and the next frame starts from nothing. `changing` tells whether the frame shows
    // something that changes without a call (an external texture's stream).
    bool finish(Damage* damage, bool* changing);
    // The next frame is compared with nothing: all of it is new.
    void forget() { previousValid_ = false; }
    // Whether every mesh's bounds in the frame recorded last are its own; if not, the next frame
    // is worth recording even when nothing changed, to work them out while they hold still.
    bool boundsExact() const { return previousExact_; }
    // Draws the recorded frame into the current target: with `region`, each of its rectangles
    // cleared to `clear` and drawn clipped to it; without, the whole target, as a walk draws it.
    void replay(Renderer& renderer, const Damage* region, const float clear[4], FrameStats* stats);
    // After the replay: a picture that arrived in it is what the next frame compares with.
    void settleUploads();

  private:
    struct Pass {
        Matrix projection;
        int32_t viewport[4];
        uint64_t hash;
    };
    struct Record {
        DrawItem item;
        Matrix modelView;
        int32_t pass;
        bool scissorOn;
        bool upload;    // a picture was waiting: this frame shows it
        bool inherits;  // blends with the state the draws before it left
        bool drawn;
        Damage::Rect scissor;
        Renderer::BlendState blendAfter;
        uint64_t key;
        uint64_t hash;
        uint64_t hashBeforePicture;
        Damage::Rect bounds;
        // False: the bounds are the whole area the mesh may draw in, not worked out from its
        // vertices (a frame already drawn whole needs none).
        bool exact;
    };
    struct Trace {
        uint64_t key;
        uint64_t hash;
        Damage::Rect bounds;
        bool exact;
    };

    // The area the record may draw in (viewport, window, scissor) or, when `exact`, the part its
    // vertices reach.
    Damage::Rect boundsOf(const Record& record, bool exact) const;
    // Matches records with the previous frame's from `from` on, by key.
    void matchByKey(int32_t from, Damage* damage);
    void unchanged(Record& record, const Trace& before);
    void changed(Record& record, const Trace* before, Damage* damage);

    int32_t width_ = 0;
    int32_t height_ = 0;
    uint32_t projectionVersion_ = 0;
    bool overflow_ = false;
    bool changing_ = false;
    // Blend state as the recorded draws leave it; uncertain after a picture whose format is not
    // known until it is uploaded.
    Renderer::BlendState blend_;
    bool blendUncertain_ = false;
    uint64_t serial_ = 0;

    Pass* passes_ = nullptr;
    int32_t passCount_ = 0;
    int32_t passCapacity_ = 0;
    Record* records_ = nullptr;
    int32_t count_ = 0;
    int32_t capacity_ = 0;
    Trace* previous_ = nullptr;
    int32_t previousCount_ = 0;
    int32_t previousCapacity_ = 0;
    bool previousValid_ = false;
    bool previousExact_ = false;
    // Scratch for matching: an open-addressed table of previous indices, and per record the
    // previous index it matched.
    int32_t* table_ = nullptr;
    int32_t tableCapacity_ = 0;
    int32_t* matched_ = nullptr;
    int32_t matchedCapacity_ = 0;
};

}  // namespace kesto
