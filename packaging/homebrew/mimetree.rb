# SPDX-License-Identifier: Apache-2.0
# Homebrew formula of the library and the program.  A tap sets `url` to the archive of a release,
# and `sha256` to its sum.
class Mimetree < Formula
  desc "MIME engine: mail into a tree of parts, and back"
  homepage "https://mimetree.invalid"
  url "https://mimetree.invalid/mimetree-0.1.0.tar.gz"
  sha256 "0000000000000000000000000000000000000000000000000000000000000000"
  license "Apache-2.0"

  depends_on "cli11" => :build
  depends_on "cmake" => :build
  depends_on "nlohmann-json" => :build
  depends_on "nettle"
  depends_on "re2"
  depends_on "tbb"

  uses_from_macos "libxml2"
  uses_from_macos "zlib"

  def install
    system "cmake", "-S", ".", "-B", "build",
           "-DBUILD_SHARED_LIBS=ON", "-DMIMETREE_BUILD_TESTS=OFF", *std_cmake_args
    system "cmake", "--build", "build"
    system "cmake", "--install", "build"
  end

  test do
    (testpath/"mail.eml").write "Content-Type: text/html; charset=utf-8\r\n\r\n<p>Hi\r\n"
    assert_match "text/html", shell_output("#{bin}/mimetree tree mail.eml")
    (testpath/"test.c").write <<~C
      #include <mimetree/version.h>
      int main(void) { return MIMETREE_VERSION_NUMBER >= MIMETREE_VERSION_OF(0, 1, 0) ? 0 : 1; }
    C
    system ENV.cc, "test.c", "-I#{include}", "-o", "test"
    system "./test"
  end
end
