#!/bin/bash -eu
# SPDX-License-Identifier: Apache-2.0
# Called by OSS-Fuzz with CXX, CXXFLAGS, LIB_FUZZING_ENGINE and OUT set.
cmake -G Ninja -B "$WORK/build" -DMIMETREE_BUILD_FUZZ=ON -DMIMETREE_BUILD_TESTS=OFF \
    -DMIMETREE_BUILD_TOOLS=OFF -DBUILD_SHARED_LIBS=OFF
cmake --build "$WORK/build"
for target in "$WORK"/build/fuzz/*_fuzz; do
    name=$(basename "$target")
    cp "$target" "$OUT/"
    cp fuzz/mail.dict "$OUT/$name.dict"
    [ ! -d "fuzz/finds/$name" ] || zip -qj "$OUT/${name}_seed_corpus.zip" "fuzz/finds/$name"/*
done
zip -qr "$OUT/load_fuzz_seed_corpus.zip" tests/samples
