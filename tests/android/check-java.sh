#!/usr/bin/env bash
# The Java side against the real Android API: the binding, the object layer, the testing helper,
# the Android adapters and the sample activity compile against the API 21 jar at language level 8
# without a warning, and the desktop stand-ins declare nothing that the API lacks (StandInCheck.java).
# Usage: check-java.sh API_JAR STAND_IN_JAR SOURCE_DIR
set -euo pipefail
api_jar=$1
stand_ins=$2
source=$3
if [ ! -f "$api_jar" ]; then
    echo "android.java: skipped - no Android API jar at $api_jar"
    exit 77
fi
classes=$(mktemp -d)
trap 'rm -rf "$classes"' EXIT
sources=$(find "$source/java/com" -name '*.java' | sort)
javac -source 8 -target 8 -bootclasspath "$api_jar" -Xlint:all -Xlint:-options -Werror \
    -encoding UTF-8 -d "$classes" $sources
samples=$(find "$source/examples/android" -name '*.java' | sort)
javac -source 8 -target 8 -bootclasspath "$api_jar" -Xlint:all -Xlint:-options -Werror \
    -encoding UTF-8 -cp "$classes" -d "$classes" $samples
echo "java: $(printf '%s\n%s\n' "$sources" "$samples" | wc -l) sources compile against $(basename "$api_jar")"
java "$source/tests/android/StandInCheck.java" "$stand_ins" "$api_jar"
