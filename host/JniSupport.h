// JNI helpers shared by the host's stand-ins for NDK functions. Internal to libkesto2host.
#pragma once

#include <jni.h>

#pragma GCC visibility push(hidden)

namespace kesto::host {

enum class ClassLookup { kFound, kAbsent, kException };

// Finds the class called `dottedName` ("android.view.Surface") among the object's class and its
// superclasses, and returns it in `*found` as a local reference. Matching by name rather than
// through FindClass works whichever class loader the stand-ins came from. An exception raised on
// the way is cleared and reported as kException.
ClassLookup FindClassOf(JNIEnv* env, jobject object, const char* dottedName, jclass* found);

// Clears a pending exception; true when there was one.
bool ClearException(JNIEnv* env);

}  // namespace kesto::host

#pragma GCC visibility pop
