#include "draw/FrameRecorder.h"

#include <GLES2/gl2.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/Accounting.h"
#include "gl/VertexBuffer.h"
#include "shader/ShaderProgram.h"

namespace kesto {

namespace {

constexpr uint64_t kMix = 0x9E3779B97F4A7C15ull;
constexpr int32_t kFirstRecords = 256;
// Marks values that stand for "new this frame": never a picture version, which has 32 bits.
constexpr uint64_t kUnique = 1ull << 63;

// Each step, a multiplication by an odd number, is one to one: a record differing from the one
// before in a single word always hashes differently.
struct Hasher {
    uint64_t value = 0x243F6A8885A308D3ull;

    void add(uint64_t word) { value = (value ^ word) * kMix; }
    void addFloats(float high, float low) {
        uint32_t bits[2];
        std::memcpy(&bits[0], &high, sizeof high);
        std::memcpy(&bits[1], &low, sizeof low);
        add(uint64_t{bits[0]} << 32 | bits[1]);
    }
    void addBytes(const void* data, size_t bytes) {
        const uint8_t* p = static_cast<const uint8_t*>(data);
        // Two independent lanes: each multiply waits for the one before it in its own lane only.
        uint64_t other = 0x13198A2E03707344ull;
        for (; bytes >= 16; bytes -= 16, p += 16) {
            uint64_t words[2];
            std::memcpy(words, p, 16);
            value = (value ^ words[0]) * kMix;
            other = (other ^ words[1]) * kMix;
        }
        add(other);
        for (; bytes >= 8; bytes -= 8, p += 8) {
            uint64_t word;
            std::memcpy(&word, p, 8);
            add(word);
        }
        uint64_t rest = 0;
        std::memcpy(&rest, p, bytes);
        add(rest ^ (uint64_t{bytes} << 56));
    }
};

int32_t ToPixel(float value) {
    return static_cast<int32_t>(std::clamp(value, -1.0e9f, 1.0e9f));
}

}  // namespace

Damage::Rect Damage::Rect::unite(const Rect& o) const {
    if (empty()) {
        return o;
    }
    if (o.empty()) {
        return *this;
    }
    return Rect{std::min(x0, o.x0), std::min(y0, o.y0), std::max(x1, o.x1), std::max(y1, o.y1)};
}

Damage::Rect Damage::Rect::clip(const Rect& o) const {
    return Rect{std::max(x0, o.x0), std::max(y0, o.y0), std::min(x1, o.x1), std::min(y1, o.y1)};
}

void Damage::add(Rect rect) {
    if (rect.empty()) {
        return;
    }
    // Overlapping rectangles merge: each is cleared and drawn on its own, so overlaps would be
    // drawn twice.
    for (int i = 0; i < count_;) {
        if (rects_[i].meets(rect)) {
            rect = rect.unite(rects_[i]);
            rects_[i] = rects_[--count_];
            i = 0;
        } else {
            ++i;
        }
    }
    rects_[count_++] = rect;
    if (count_ <= kMaximumRects) {
        return;
    }
    // One too many: merge the pair whose union adds the least area.
    int best0 = 0, best1 = 1;
    int64_t bestGrowth = INT64_MAX;
    for (int i = 0; i < count_; ++i) {
        for (int j = i + 1; j < count_; ++j) {
            const int64_t growth =
                rects_[i].unite(rects_[j]).area() - rects_[i].area() - rects_[j].area();
            if (growth < bestGrowth) {
                bestGrowth = growth;
                best0 = i;
                best1 = j;
            }
        }
    }
    const Rect merged = rects_[best0].unite(rects_[best1]);
    rects_[best1] = rects_[--count_];
    rects_[best0] = rects_[--count_];
    add(merged);
}

void Damage::add(const Damage& other) {
    for (int i = 0; i < other.count_; ++i) {
        add(other.rects_[i]);
    }
}

int64_t Damage::area() const {
    int64_t total = 0;
    for (int i = 0; i < count_; ++i) {
        total += rects_[i].area();
    }
    return total;
}

FrameRecorder::~FrameRecorder() {
    DeleteArray(passes_);
    DeleteArray(records_);
    DeleteArray(previous_);
    DeleteArray(table_);
    DeleteArray(matched_);
}

void FrameRecorder::begin(Renderer& renderer, int width, int height) {
    renderer.beginRecording(width, height);
    width_ = width;
    height_ = height;
    count_ = 0;
    passCount_ = 0;
    overflow_ = false;
    changing_ = false;
    // As clearStatus leaves it.
    blend_ = Renderer::BlendState{true, renderer.blend.function};
    blendUncertain_ = false;
    projectionVersion_ = renderer.projectionVersion;
}

bool FrameRecorder::add(Renderer& renderer, DrawItem& item) {
    const VertexBuffer* vertices = item.vertices;
    // Neither path draws these or touches any state for them.
    if (item.alpha == 0.0f || vertices == nullptr || vertices->buffer == nullptr) {
        return true;
    }
    if (overflow_ || !GrowArray(&records_, count_, &capacity_, count_ + 1, 1, kFirstRecords)) {
        overflow_ = true;
        return true;
    }
    if (passCount_ == 0 || renderer.projectionVersion != projectionVersion_) {
        if (!GrowArray(&passes_, passCount_, &passCapacity_, passCount_ + 1, 1, 4)) {
            overflow_ = true;
            return true;
        }
        Pass& pass = passes_[passCount_++];
        pass.projection = renderer.projectionMatrix;
        pass.viewport[0] = renderer.viewportX;
        pass.viewport[1] = renderer.viewportY;
        pass.viewport[2] = renderer.viewportWidth;
        pass.viewport[3] = renderer.viewportHeight;
        Hasher hash;
        hash.addBytes(pass.projection.m, sizeof pass.projection.m);
        hash.addBytes(pass.viewport, sizeof pass.viewport);
        pass.hash = hash.value;
        projectionVersion_ = renderer.projectionVersion;
    }
    Record& record = records_[count_++];
    record.item = item;
    record.modelView = renderer.modelViewMatrix;
    record.pass = passCount_ - 1;
    record.scissorOn = renderer.scissorOn;
    const int32_t* box = renderer.scissorBox;
    record.scissor = Damage::Rect{box[0], box[1], box[0] + box[2], box[1] + box[3]};
    record.drawn = false;
    record.key = reinterpret_cast<uintptr_t>(vertices);

    DrawItem& described = record.item;
    TextureSource* source = item.textureSource;
    bool textured = item.texture != 0;
    uint32_t picture = 0;
    record.upload = false;
    if (source != nullptr) {
        record.upload = source->uploadPending();
        textured = record.upload || source->currentName() != 0;
        described.textureKind = source->drawKind();
        picture = source->pictureVersion();
    }
    const bool external = described.textureKind == DrawItem::TextureKind::External;
    changing_ = changing_ || external;
    const Renderer::BlendState before = blend_;
    blend_ = renderer.blendAfter(described, textured, before, &record.inherits);

    Hasher hash;
    hash.add(record.key);
    hash.add(passes_[record.pass].hash);
    hash.addBytes(record.modelView.m, sizeof record.modelView.m);
    if (record.scissorOn) {
        hash.addBytes(box, 4 * sizeof box[0]);
    }
    hash.add(uint64_t{vertices->vertexCount} << 32 | static_cast<uint32_t>(vertices->stride));
    hash.add(uint64_t(vertices->flags) << 32 |
             static_cast<uint32_t>(vertices->positionOffset << 16 | vertices->texCoordOffset));
    hash.addBytes(vertices->buffer,
                  std::min<size_t>(vertices->bufferSize,
                                   size_t{vertices->vertexCount} * std::max(vertices->stride, 0)));
    ShaderProgram* program = item.program;
    hash.add(reinterpret_cast<uintptr_t>(program));
    hash.add(reinterpret_cast<uintptr_t>(source));
    hash.add(uint64_t{program != nullptr ? program->glProgram : 0} << 32 | item.texture);
    hash.add(static_cast<uint64_t>(described.textureKind) << 40 | uint64_t{item.hasUniforms} << 32 |
             static_cast<uint32_t>(item.rgbOperation));
    hash.addFloats(item.red, item.green);
    hash.addFloats(item.blue, item.alpha);
    hash.add(item.uniformHash);
    if (item.textureTransform != nullptr) {
        hash.addBytes(item.textureTransform, 16 * sizeof(float));
    }
    if (record.inherits) {
        hash.add(uint64_t{before.enabled} << 8 | static_cast<uint8_t>(before.function));
        if (blendUncertain_) {
            hash.add(kUnique | ++serial_);
        }
    }
    record.hashBeforePicture = hash.value;
    // A picture arriving, or a stream's: different from whatever was drawn before.
    hash.add(record.upload || external ? kUnique | ++serial_ : picture);
    record.hash = hash.value;
    if (record.upload) {
        blendUncertain_ = true;
    } else if (!record.inherits && blend_.enabled) {
        blendUncertain_ = false;
    }
    record.blendAfter = blend_;
    return true;
}

Damage::Rect FrameRecorder::boundsOf(const Record& record, bool exact) const {
    const Pass& pass = passes_[record.pass];
    const float vx = static_cast<float>(pass.viewport[0]);
    const float vy = static_cast<float>(pass.viewport[1]);
    const float halfWidth = 0.5f * static_cast<float>(pass.viewport[2]);
    const float halfHeight = 0.5f * static_cast<float>(pass.viewport[3]);
    Damage::Rect area =
        Damage::Rect{pass.viewport[0], pass.viewport[1], pass.viewport[0] + pass.viewport[2],
                     pass.viewport[1] + pass.viewport[3]}
            .clip(Damage::Rect{0, 0, width_, height_});
    if (record.scissorOn) {
        area = area.clip(record.scissor);
    }
    const VertexBuffer& vertices = *record.item.vertices;
    if (!exact || (vertices.flags & VertexBuffer::HAS_POSITION) == 0) {
        return area;
    }
    const float* mv = record.modelView.m;
    const float* p = pass.projection.m;
    float low[2] = {INFINITY, INFINITY};
    float high[2] = {-INFINITY, -INFINITY};
    const uint8_t* source = vertices.buffer + vertices.positionOffset;
    for (uint32_t i = 0; i < vertices.vertexCount; ++i, source += vertices.stride) {
        float v[3];
        std::memcpy(v, source, sizeof v);
        float eye[4];
        for (int row = 0; row < 4; ++row) {
            eye[row] = mv[row] * v[0] + mv[4 + row] * v[1] + mv[8 + row] * v[2] + mv[12 + row];
        }
        float clip[4];
        for (int row = 0; row < 4; ++row) {
            clip[row] =
                p[row] * eye[0] + p[4 + row] * eye[1] + p[8 + row] * eye[2] + p[12 + row] * eye[3];
        }
        // At or behind the eye the projection folds over: anywhere in the viewport.
        if (!(clip[3] > 1e-6f)) {
            return area;
        }
        const float x = vx + (clip[0] / clip[3] + 1.0f) * halfWidth;
        const float y = vy + (clip[1] / clip[3] + 1.0f) * halfHeight;
        low[0] = std::min(low[0], x);
        low[1] = std::min(low[1], y);
        high[0] = std::max(high[0], x);
        high[1] = std::max(high[1], y);
    }
    if (!(std::isfinite(low[0]) && std::isfinite(low[1]) && std::isfinite(high[0]) &&
          std::isfinite(high[1]))) {
        return vertices.vertexCount == 0 ? Damage::Rect{} : area;
    }
    // A pixel more each side: rounding in the GPU's transform must not reach past the bounds.
    return Damage::Rect{ToPixel(std::floor(low[0])) - 1, ToPixel(std::floor(low[1])) - 1,
                        ToPixel(std::ceil(high[0])) + 1, ToPixel(std::ceil(high[1])) + 1}
        .clip(area);
}

void FrameRecorder::unchanged(Record& record, const Trace& before) {
    record.exact = true;
    record.bounds = before.exact ? before.bounds : boundsOf(record, true);
}

void FrameRecorder::changed(Record& record, const Trace* before, Damage* damage) {
    // Once half the window changed, the frame is drawn whole: the vertices need not be looked at
    // until the mesh stays still for a frame.
    record.exact = damage->area() * 2 < int64_t{width_} * height_;
    record.bounds = boundsOf(record, record.exact);
    damage->add(record.bounds);
    if (before != nullptr) {
        damage->add(before->exact ? before->bounds : Damage::Rect{0, 0, width_, height_});
    }
}

bool FrameRecorder::finish(Damage* damage, bool* changing) {
    *changing = changing_;
    if (overflow_) {
        previousValid_ = false;
        return false;
    }
    int32_t same = 0;
    if (previousValid_) {
        for (; same < count_ && same < previousCount_ && records_[same].key == previous_[same].key;
             ++same) {
            Record& record = records_[same];
            const Trace& before = previous_[same];
            if (record.hash == before.hash) {
                unchanged(record, before);
            } else {
                changed(record, &before, damage);
            }
        }
        if (same < count_ || same < previousCount_) {
            matchByKey(same, damage);
        }
    } else {
        for (int32_t i = 0; i < count_; ++i) {
            changed(records_[i], nullptr, damage);
        }
    }
    previousValid_ = GrowArray(&previous_, 0, &previousCapacity_, count_, 1, kFirstRecords);
    if (previousValid_) {
        previousExact_ = true;
        for (int32_t i = 0; i < count_; ++i) {
            previous_[i] =
                Trace{records_[i].key, records_[i].hash, records_[i].bounds, records_[i].exact};
            previousExact_ = previousExact_ && records_[i].exact;
        }
        previousCount_ = count_;
    }
    return true;
}

void FrameRecorder::matchByKey(int32_t from, Damage* damage) {
    const int32_t newCount = count_ - from;
    const int32_t oldCount = previousCount_ - from;
    int32_t slots = 16;
    while (slots < 2 * oldCount) {
        slots *= 2;
    }
    // matched_ holds, per new record, the previous index it matched (or -1), then two arrays for
    // the longest increasing run.
    if (!GrowArray(&table_, 0, &tableCapacity_, slots, 1, 16) ||
        !GrowArray(&matched_, 0, &matchedCapacity_, 3 * newCount, 1, kFirstRecords)) {
        // Without scratch memory: everything old and new is damage.
        damage->add(Damage::Rect{0, 0, width_, height_});
        for (int32_t i = from; i < count_; ++i) {
            changed(records_[i], nullptr, damage);
        }
        return;
    }
    constexpr int32_t kFree = -1;
    constexpr int32_t kTaken = -2;
    std::fill(table_, table_ + slots, kFree);
    const int shift = 64 - __builtin_ctz(static_cast<unsigned>(slots));
    auto slotOf = [shift](uint64_t key) { return static_cast<int32_t>((key * kMix) >> shift); };
    for (int32_t i = from; i < previousCount_; ++i) {
        int32_t slot = slotOf(previous_[i].key);
        while (table_[slot] != kFree) {
            slot = (slot + 1) & (slots - 1);
        }
        table_[slot] = i;
    }
    int32_t* order = matched_;
    bool increasing = true;
    int32_t last = -1;
    for (int32_t j = 0; j < newCount; ++j) {
        Record& record = records_[from + j];
        int32_t slot = slotOf(record.key);
        int32_t found = -1;
        for (; table_[slot] != kFree; slot = (slot + 1) & (slots - 1)) {
            const int32_t i = table_[slot];
            if (i != kTaken && previous_[i].key == record.key) {
                found = i;
                table_[slot] = kTaken;
                break;
            }
        }
        order[j] = found;
        if (found < 0) {
            changed(record, nullptr, damage);
            continue;
        }
        if (record.hash == previous_[found].hash) {
            unchanged(record, previous_[found]);
        } else {
            changed(record, &previous_[found], damage);
        }
        increasing = increasing && found > last;
        last = found;
    }
    for (int32_t slot = 0; slot < slots; ++slot) {
        if (table_[slot] >= 0) {
            const Trace& gone = previous_[table_[slot]];
            damage->add(gone.exact ? gone.bounds : Damage::Rect{0, 0, width_, height_});
        }
    }
    if (increasing) {
        return;
    }
    // Meshes kept in the longest run of unchanged order stay; the rest moved among the others
    // and are damage where they are.
    int32_t* tails = matched_ + newCount;  // per run length, the index of its smallest end
    int32_t* links = matched_ + 2 * newCount;
    int32_t length = 0;
    for (int32_t j = 0; j < newCount; ++j) {
        if (order[j] < 0) {
            continue;
        }
        int32_t low = 0, high = length;
        while (low < high) {
            const int32_t mid = (low + high) / 2;
            if (order[tails[mid]] < order[j]) {
                low = mid + 1;
            } else {
                high = mid;
            }
        }
        links[j] = low > 0 ? tails[low - 1] : -1;
        tails[low] = j;
        length = std::max(length, low + 1);
    }
    bool* kept = reinterpret_cast<bool*>(tails);  // tails are no longer needed past here
    int32_t end = length > 0 ? tails[length - 1] : -1;
    std::fill(kept, kept + newCount, false);
    for (; end >= 0; end = links[end]) {
        kept[end] = true;
    }
    for (int32_t j = 0; j < newCount; ++j) {
        if (order[j] >= 0 && !kept[j]) {
            damage->add(records_[from + j].bounds);
        }
    }
}

void FrameRecorder::settleUploads() {
    if (!previousValid_ || previousCount_ != count_) {
        return;
    }
    for (int32_t i = 0; i < count_; ++i) {
        const Record& record = records_[i];
        if (record.upload && record.drawn) {
            Hasher hash;
            hash.value = record.hashBeforePicture;
            hash.add(record.item.textureSource->pictureVersion());
            previous_[i].hash = hash.value;
        }
    }
}

void FrameRecorder::replay(Renderer& renderer, const Damage* region, const float clear[4],
                           FrameStats* stats) {
    const Renderer::BlendState start = renderer.blend;
    Renderer::BlendState logical = start;
    const Damage::Rect window{0, 0, width_, height_};
    const int areas = region != nullptr ? region->count() : 1;
    for (int a = 0; a < areas; ++a) {
        const Damage::Rect area = region != nullptr ? (*region)[a] : window;
        renderer.flushSink(FrameStats::BREAK_SCISSOR);
        bool scissorOn = region != nullptr;
        Damage::Rect scissor = area;
        if (scissorOn) {
            glEnable(GL_SCISSOR_TEST);
            glScissor(area.x0, area.y0, area.x1 - area.x0, area.y1 - area.y0);
        } else {
            glDisable(GL_SCISSOR_TEST);
        }
        renderer.clearBuffers(clear[0], clear[1], clear[2], clear[3]);
        // Each area is drawn as the whole frame draws it: from the state the frame starts with.
        logical = start;
        Renderer::BlendState drawnAfter = renderer.blend;
        int32_t pass = -1;
        for (int32_t i = 0; i < count_; ++i) {
            Record& record = records_[i];
            const Damage::Rect clip = record.scissorOn ? record.scissor.clip(area) : area;
            if (!record.bounds.meets(clip)) {
                logical = record.blendAfter;
                continue;
            }
            if (record.pass != pass) {
                pass = record.pass;
                const int32_t* viewport = passes_[pass].viewport;
                renderer.setViewport(viewport[0], viewport[1], viewport[2], viewport[3]);
                renderer.setupProjectionMatrix(passes_[pass].projection);
            }
            const bool clipped = region != nullptr || record.scissorOn;
            const Damage::Rect& box = clipped ? clip : window;
            if (clipped != scissorOn || box.x0 != scissor.x0 || box.y0 != scissor.y0 ||
                box.x1 != scissor.x1 || box.y1 != scissor.y1) {
                renderer.flushSink(FrameStats::BREAK_SCISSOR);
                if (clipped) {
                    glEnable(GL_SCISSOR_TEST);
                    glScissor(box.x0, box.y0, box.x1 - box.x0, box.y1 - box.y0);
                } else {
                    glDisable(GL_SCISSOR_TEST);
                }
                scissorOn = clipped;
                scissor = box;
            }
            // Meshes skipped since the last one drawn may have changed what this one inherits.
            if (record.inherits && logical != drawnAfter) {
                renderer.flushSink(FrameStats::BREAK_BLEND);
                renderer.setBlendState(logical);
            }
            renderer.modelViewMatrix = record.modelView;
            DrawItem item = record.item;
            item.mayUpload = record.upload && !record.drawn;
            record.drawn = true;
            renderer.submit(item);
            if (item.mayUpload) {
                // What the new picture's format makes of the blend state is known once drawn.
                renderer.flushSink(FrameStats::BREAK_TEXTURE);
                logical = renderer.blend;
            } else {
                logical = record.blendAfter;
            }
            drawnAfter = logical;
        }
    }
    renderer.flushSink(FrameStats::BREAK_NONE);
    if (renderer.blend != logical) {
        renderer.setBlendState(logical);  // as the whole frame leaves it, for the next draws
    }
    glDisable(GL_SCISSOR_TEST);
    int32_t skipped = 0;
    for (int32_t i = 0; i < count_; ++i) {
        skipped += records_[i].drawn ? 0 : 1;
    }
    stats->meshesSkipped = skipped;
    stats->damagedPixels = static_cast<int32_t>(
        std::min<int64_t>(region != nullptr ? region->area() : window.area(), INT32_MAX));
}

}  // namespace kesto
