# make demo   - the tour of the real DLL under Wine through devicectl.exe
# make test   - every test: native unit tests (plain and ASan+UBSan) and the Windows tests under Wine
SHELL := /bin/bash
.PHONY: all bootstrap native native-asan mingw product test test-native test-asan test-windows demo clean

all: native mingw

bootstrap:
	@scripts/bootstrap

native: bootstrap
	@[ -f build/native/build.ninja ] || cmake --preset native >/dev/null
	cmake --build --preset native

native-asan: bootstrap
	@[ -f build/native-asan/build.ninja ] || cmake --preset native-asan >/dev/null
	cmake --build --preset native-asan

mingw: bootstrap
	@[ -f build/mingw/build.ninja ] || cmake --preset mingw >/dev/null
	cmake --build --preset mingw

# The shippable module: trusts only the keys under config/trust, carries no test material.
product: bootstrap
	@[ -f build/mingw-product/build.ninja ] || cmake --preset mingw-product >/dev/null
	cmake --build --preset mingw-product

test-native: native
	ctest --preset native

test-asan: native-asan
	ctest --preset native-asan

test-windows: mingw
	scripts/test-windows

test: native native-asan mingw
	ctest --preset native
	ctest --preset native-asan
	scripts/test-windows

demo: mingw
	scripts/demo

clean:
	rm -rf build
