// The firmware's command channel: the WMI method class in root\wmi whose methods take an input
// data block and return an output block with the firmware's return code and bytes.
#include <windows.h>
#include <wbemidl.h>

#include "platform/windows/WinWmi.h"
#include "platform/windows/WinWmiConnection.h"
#include "platform/windows/raii/com.h"

namespace Qv::platform::windows {
namespace {

constexpr const wchar_t* kFirmwareNamespace = L"\\\\.\\root\\wmi";
constexpr const wchar_t* kMethodClass = L"qvkBIntM";
constexpr const wchar_t* kInputBlockClass = L"qvkBDataIn";

// A VARIANT holding a SAFEARRAY of bytes; empty when there are none (or it could not be made).
unique_variant ByteArray(const std::vector<uint8_t>& bytes, const char* operation, std::optional<WmiCallFailure>& failure) {
    unique_variant value;
    unique_safearray array(SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size())));
    if (!array) {
        failure = WmiCallFailure{operation, L"SafeArrayCreateVector()", E_OUTOFMEMORY};
        return value;
    }
    for (LONG i = 0; i < static_cast<LONG>(bytes.size()); ++i) {
        uint8_t byte = bytes[static_cast<size_t>(i)];
        const HRESULT hr = SafeArrayPutElement(array.get(), &i, &byte);
        if (FAILED(hr)) {
            failure = WmiCallFailure{operation, L"SafeArrayPutElement()", hr};
            return value;
        }
    }
    VARIANT made;
    VariantInit(&made);
    made.vt = VT_ARRAY | VT_UI1;
    made.parray = array.release();
    return unique_variant(made);
}

unique_variant Integer(int32_t number) {
    VARIANT made;
    VariantInit(&made);
    made.vt = VT_I4;
    made.lVal = number;
    return unique_variant(made);
}

// Runs the command; the first failed call ends it (recorded in the reply).
void Execute(IWbemServices* services, const FirmwareRequest& request, FirmwareReply& reply) {
    const auto fail = [&](const char* operation, const wchar_t* call, HRESULT hr) {
        reply.failure = WmiCallFailure{operation, call, hr};
    };
    unique_bstr methodClassName(SysAllocString(kMethodClass));
    unique_bstr methodName(SysAllocString(request.methodName.c_str()));
    com_ptr<IWbemClassObject> methodClass;
    HRESULT hr = services->GetObject(methodClassName.get(), 0, nullptr, methodClass.put(), nullptr);
    if (FAILED(hr)) return fail("ExecuteCommand", L"IWbemServices->GetObject(InputDataBlock)", hr);
    com_ptr<IWbemClassObject> parameterClass;
    hr = methodClass.get()->GetMethod(request.methodName.c_str(), 0, parameterClass.put(), nullptr);
    if (FAILED(hr)) return fail("ExecuteCommand", L"IWbemClassObject->GetMethod(BiosWmiMethod)", hr);

    // The input data block.
    unique_bstr blockClassName(SysAllocString(kInputBlockClass));
    com_ptr<IWbemClassObject> blockClass;
    hr = services->GetObject(blockClassName.get(), 0, nullptr, blockClass.put(), nullptr);
    if (FAILED(hr)) return fail("SetupInputDataBlock", L"IWbemServices->GetObject(InputDataBlock)", hr);
    com_ptr<IWbemClassObject> block;
    hr = blockClass.get()->SpawnInstance(0, block.put());
    if (FAILED(hr)) return fail("SetupInputDataBlock", L"IWbemClassObject->SpawnInstance(InputDataBlockInstance)", hr);
    unique_variant sign = ByteArray(request.sign, "CreateSafeArray", reply.failure);
    if (reply.failure) return;
    unique_variant data;
    if (!request.data.empty()) {
        data = ByteArray(request.data, "CreateSafeArray", reply.failure);
        if (reply.failure) return;
    }
    const unique_variant command = Integer(request.command);
    const unique_variant commandType = Integer(request.commandType);
    const unique_variant size = Integer(static_cast<int32_t>(request.data.size()));
    const struct {
        const wchar_t* name;
        const VARIANT* value;
        const wchar_t* call;
    } fields[] = {
        {L"Sign", &sign.get(), L"InputDataBlockInstance->Put(Sign)"},
        {L"Command", &command.get(), L"InputDataBlockInstance->Put(Command)"},
        {L"CommandType", &commandType.get(), L"InputDataBlockInstance->Put(CommandType)"},
        {L"Size", &size.get(), L"InputDataBlockInstance->Put(Size)"},
        {L"qvkBData", &data.get(), L"InputDataBlockInstance->Put(inputData)"},
    };
    for (const auto& field : fields) {
        hr = block.get()->Put(field.name, 0, const_cast<VARIANT*>(field.value), 0);
        if (FAILED(hr)) return fail("SetupInputDataBlock", field.call, hr);
    }

    // The method's input parameters: the block as "InData".
    com_ptr<IWbemClassObject> parameters;
    hr = parameterClass.get()->SpawnInstance(0, parameters.put());
    if (FAILED(hr)) return fail("ExecuteCommand", L"IWbemClassObject->SpawnInstance(BiosMethodInstance)", hr);
    VARIANT blockValue;
    VariantInit(&blockValue);
    blockValue.vt = VT_UNKNOWN;
    blockValue.punkVal = block.get();
    block.get()->AddRef();  // the VARIANT holds a reference of its own
    const unique_variant inData(blockValue);
    hr = parameters.get()->Put(L"InData", 0, const_cast<VARIANT*>(&inData.get()), 0);
    if (FAILED(hr)) return fail("ExecuteCommand", L"BiosMethodInstance->Put(InputDataBlockClass)", hr);

    // The path of the method object.
    com_ptr<IEnumWbemClassObject> methodObjects;
    unique_bstr enumClass(SysAllocString(L"QvkBIntM"));
    hr = services->CreateInstanceEnum(enumClass.get(), 0, nullptr, methodObjects.put());
    if (FAILED(hr)) return fail("GetBiosMethodObjectPath", L"IWbemServices->CreateInstanceEnum(BiosWmiMethod)", hr);
    com_ptr<IWbemClassObject> methodObject;
    ULONG returned = 0;
    hr = methodObjects.get()->Next(WBEM_INFINITE, 1, methodObject.put(), &returned);
    if (FAILED(hr) || returned == 0)
        return fail("GetBiosMethodObjectPath", L"IEnumWbemClassObject->Next()", FAILED(hr) ? hr : static_cast<HRESULT>(WBEM_E_NOT_FOUND));
    unique_variant path;
    hr = methodObject.get()->Get(L"__PATH", 0, path.put(), nullptr, nullptr);
    if (FAILED(hr) || path.get().vt != VT_BSTR)
        return fail("GetBiosMethodObjectPath", L"IWbemClassObject->Get(path)", FAILED(hr) ? hr : static_cast<HRESULT>(WBEM_E_TYPE_MISMATCH));

    com_ptr<IWbemClassObject> outParameters;
    hr = services->ExecMethod(path.get().bstrVal, methodName.get(), 0, nullptr, parameters.get(), outParameters.put(),
                              nullptr);
    if (FAILED(hr)) return fail("ExecuteCommand", L"IWbemServices->ExecMethod(BIOS method)", hr);

    // The output block: the return code, then the bytes asked for.
    unique_variant outData;
    hr = outParameters.get()->Get(L"OutData", 0, outData.put(), nullptr, nullptr);
    if (FAILED(hr) || outData.get().vt != VT_UNKNOWN || outData.get().punkVal == nullptr)
        return fail("GetOutputData", L"OutputDataBlockInstance->Get(OutputDataBlock)", FAILED(hr) ? hr : E_NOINTERFACE);
    com_ptr<IWbemClassObject> output;
    hr = outData.get().punkVal->QueryInterface(IID_IWbemClassObject, reinterpret_cast<void**>(output.put()));
    if (FAILED(hr)) return fail("GetOutputData", L"OutputDataBlock->QueryInterface(OutputDataObject)", hr);
    unique_variant returnCode;
    hr = output.get()->Get(L"rwReturnCode", 0, returnCode.put(), nullptr, nullptr);
    if (FAILED(hr)) return fail("GetOutputData", L"OutputDataObject->Get(ReturnCode)", hr);
    reply.returnCode = returnCode.get().vt == VT_I4 ? returnCode.get().lVal : 0;
    if (request.outputSize == 0) return;

    unique_variant bytes;
    hr = output.get()->Get(L"Data", 0, bytes.put(), nullptr, nullptr);
    if (FAILED(hr)) return fail("GetOutputData", L"OutputDataObject->Get(outputData)", hr);
    if ((bytes.get().vt & VT_ARRAY) == 0 || bytes.get().parray == nullptr) return;
    SAFEARRAY* array = bytes.get().parray;
    LONG lower = 0;
    LONG upper = -1;
    SafeArrayGetLBound(array, 1, &lower);
    SafeArrayGetUBound(array, 1, &upper);
    reply.hasData = true;
    for (LONG i = lower; i <= upper; ++i) {
        uint8_t byte = 0;
        SafeArrayGetElement(array, &i, &byte);
        reply.data.push_back(byte);
    }
}

}  // namespace

FirmwareReply WinWmi::ExecuteFirmwareCommand(const FirmwareRequest& request) {
    FirmwareReply reply;
    ComScope com(COINIT_MULTITHREADED);
    if (!com) {
        reply.failure = WmiCallFailure{"GetReady", L"CoInitializeEx", com.Result()};
        return reply;
    }
    // GetReady: the channel's namespace.
    std::vector<WmiCallFailure> failures;
    com_ptr<IWbemServices> services = ConnectToWmi(kFirmwareNamespace, "GetReady", failures);
    // Unlike a property read, the channel is not ready after any failure on the way, a COM
    // security initialisation that failed (other than RPC_E_TOO_LATE) included.
    if (!services || !failures.empty()) {
        reply.failure = failures.empty() ? WmiCallFailure{"GetReady", L"IWbemLocator->ConnectServer(WmiNamespace)", E_FAIL}
                                         : failures.back();
        return reply;
    }
    Execute(services.get(), request, reply);
    return reply;
}

}  // namespace Qv::platform::windows
