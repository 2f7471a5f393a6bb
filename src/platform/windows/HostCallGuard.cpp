// A call into the host's code with a structured-exception frame around it. A Visual C++ host's
// callback may end in a C++ `throw` of its own, which reaches us as a structured exception (code
// 0xE06D7363) that g++'s `catch (...)` does not see: left alone it would unwind through the
// module and, with no handler in the host's thread, end the process. g++ has no `__try`, so the
// frame is written out: the scope table that __C_specific_handler reads (begin, end, filter 1 =
// EXCEPTION_EXECUTE_HANDLER, target) covers the call, and the target answers 1.
//
//   int QvGuardedHostCall(void (*call)(void*, void*), void* first, void* second)
//   0: the call returned; 1: it raised and was stopped here.
asm(R"(
    .text
    .globl QvGuardedHostCall
    .def QvGuardedHostCall; .scl 2; .type 32; .endef
    .seh_proc QvGuardedHostCall
QvGuardedHostCall:
    pushq %rbp
    .seh_pushreg %rbp
    movq %rsp, %rbp
    .seh_setframe %rbp, 0
    subq $32, %rsp
    .seh_stackalloc 32
    .seh_endprologue
    movq %rcx, %rax
    movq %rdx, %rcx
    movq %r8, %rdx
.Lqv_guard_begin:
    callq *%rax
    nop
.Lqv_guard_end:
    xorl %eax, %eax
    jmp .Lqv_guard_done
.Lqv_guard_caught:
    movl $1, %eax
.Lqv_guard_done:
    movq %rbp, %rsp
    popq %rbp
    retq
    .seh_handler __C_specific_handler, @except
    .seh_handlerdata
    .long 1
    .rva .Lqv_guard_begin
    .rva .Lqv_guard_end
    .long 1
    .rva .Lqv_guard_caught
    .text
    .seh_endproc
)");
