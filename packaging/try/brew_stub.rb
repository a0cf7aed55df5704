# SPDX-License-Identifier: Apache-2.0
# Runs a formula's install and test without Homebrew: brew_stub.rb FORMULA SOURCE WORK_DIR
require "fileutils"
require "pathname"

class Formula
  class << self
    attr_reader :test_steps

    %i[desc homepage url sha256 license depends_on uses_from_macos].each { |name| define_method(name) { |*| nil } }
    def test(&steps) = @test_steps = steps
  end

  attr_reader :prefix, :testpath

  def initialize(work)
    @prefix = Pathname(work)/"package"
    @testpath = Pathname(work)/"test"
    FileUtils.mkdir_p testpath
  end

  def bin = prefix/"bin"
  def include = prefix/"include"
  def std_cmake_args = ["-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_INSTALL_PREFIX=#{prefix}", "-Wno-dev"]
  def system(*words) = Kernel.system(*words.map(&:to_s)) || abort("failed: #{words.join(" ")}")
  def shell_output(command) = `#{command}`.tap { abort command unless $?.success? }
  def assert_match(wanted, text) = text.include?(wanted) || abort("no #{wanted} in: #{text}")
  def run_test = Dir.chdir(testpath) { instance_exec(&self.class.test_steps) }
end

def ENV.cc = "cc"

formula, source, work = ARGV.map { |path| File.expand_path(path) }
load formula
mimetree = Mimetree.new(work)
copy = File.join(work, "source")
FileUtils.mkdir_p copy
Kernel.system("git", "-C", source, "archive", "HEAD", "-o", "#{work}/source.tar") || abort
Kernel.system("tar", "-C", copy, "-xf", "#{work}/source.tar") || abort
Dir.chdir(copy) { mimetree.install }
mimetree.run_test
puts "brew: installed and tested"
