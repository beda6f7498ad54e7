// Counts changes to what frames draw, from any thread. Every setter of drawn state notes one, and
// every new picture of a texture takes a version no texture had before; a window whose last frame
// saw the same count, and showed nothing that changes by itself, has nothing new to draw. Code
// that writes drawn fields directly, bypassing the setters, calls NoteSceneChange itself.
#pragma once

#include <atomic>
#include <cstdint>

namespace kesto {

// Sequentially consistent: a frame that sees a producer's count also sees what it queued.
inline std::atomic<uint32_t> g_sceneChanges{0};
inline std::atomic<uint32_t> g_pictureVersions{0};

inline void NoteSceneChange() {
    g_sceneChanges.fetch_add(1);
}

inline uint32_t SceneChangeCount() {
    return g_sceneChanges.load();
}

inline uint32_t NewPictureVersion() {
    NoteSceneChange();
    return g_pictureVersions.fetch_add(1) + 1;
}

}  // namespace kesto
