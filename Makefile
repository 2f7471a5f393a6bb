# make demo   - the tour of the real DLL under Wine through devicectl.exe
# make test   - every test: the native suite plain, under ASan+UBSan and under TSan, a fuzz smoke
#               run, and the Windows tests under Wine; every target of every preset is built
#               first (the benchmarks and the product build included), so none of them can rot
# make bench  - the benchmarks beside their floors (optimised native build, and under Wine)
# make fuzz   - the ExecuteCommand fuzzer for FUZZ_SECONDS (default 300)
# make mutate - the mutation gauge (AREAS="accessory camera" for some areas only)
# make soak   - the service under load: 8 threads x 100,000 mixed commands, plain, under
#               ASan+UBSan and under TSan; then the installed DLL under Wine for 10,000 tool
#               commands and 1,000 subscription cycles; each with its figures
SHELL := /bin/bash
FUZZ_SECONDS ?= 300
NATIVE_PRESETS := native native-asan native-tsan native-release
.PHONY: all bootstrap $(NATIVE_PRESETS) mingw product test test-native test-asan test-tsan test-windows mutate \
        demo bench fuzz soak clean

all: native mingw

bootstrap:
	@scripts/bootstrap

$(NATIVE_PRESETS) mingw: bootstrap
	@[ -f build/$@/build.ninja ] || cmake --preset $@ >/dev/null
	cmake --build --preset $@

# The shippable module: trusts only the keys under config/trust, carries no test material.
product: bootstrap
	@[ -f build/mingw-product/build.ninja ] || cmake --preset mingw-product >/dev/null
	cmake --build --preset mingw-product

test-native: native
	ctest --preset native

test-asan: native-asan
	ctest --preset native-asan

test-tsan: native-tsan
	ctest --preset native-tsan

test-windows: mingw
	scripts/test-windows

test: native native-asan native-tsan native-release mingw product
	ctest --preset native
	ctest --preset native-asan
	ctest --preset native-tsan
	scripts/test-windows

bench: native-release mingw
	build/native-release/bin/execute_command_bench
	build/native-release/bin/memory_bench
	build/native-release/bin/monitor_bench
	bench/wine-tool-launch

# The mutation gauge: each mutation of tests/mutations/<area>.txt alone, against the native suite.
mutate: bootstrap
	tests/mutations/run $(AREAS)

soak: native native-asan native-tsan mingw
	build/native/bin/load_test --threads 8 --commands 100000
	UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1:suppressions=tests/ubsan.supp ASAN_OPTIONS=detect_leaks=1 \
	  build/native-asan/bin/load_test --threads 8 --commands 100000
	TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 build/native-tsan/bin/load_test --threads 8 --commands 100000
	scripts/wine-soak 10000 1000

fuzz: native-asan
	fuzz/run build/native-asan $(FUZZ_SECONDS)

demo: mingw
	scripts/demo

clean:
	rm -rf build
