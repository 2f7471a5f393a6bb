#pragma once
// One well-formed request per live command (31 and 32, which hold a host thread, are left to the
// tests that walk subscriptions): the fault walk and the attack walk send each of them.
namespace Qv::Tests {

struct Request {
    unsigned int number;
    const wchar_t* input;
};

inline const Request kRequests[] = {
    {1, L"{}"},
    {2, L"{}"},
    {3, L"{\"IValue\":5}"},
    {4, L"{}"},
    {5, L"{}"},
    {6, L"{\"BValue\":true}"},
    {7, L"{}"},
    {8, L"{}"},
    {9, L"{\"BValue\":true}"},
    {10, L"{}"},
    {11, L"{\"IValue\":5}"},
    {12, L"{\"BValue\":true}"},
    {13, L"{}"},
    {21, L"{\"SValue\":\"notepad.exe\"}"},
    {22, L"{\"SValue\":\"notepad.exe\"}"},
    {23, L"{\"SValue\":\"Notes\"}"},
    {41, L"{\"dataFlow\":0}"},
    {42, L"{\"dataFlow\":0}"},
    {43, L"{\"dataFlow\":1,\"enable\":true}"},
    {44, L"{\"dataFlow\":1}"},
    {45, L"{\"dataFlow\":0,\"volume\":40}"},
    {46, L"{\"dataFlow\":1,\"enable\":true}"},
    {61, L"{}"},
    {62, L"{\"IValue\":70}"},
    {63, L"{}"},
    {64, L"{}"},
    {65, L"{\"BValue\":true}"},
    {66, L"{}"},
    {67, L"{}"},
    {68, L"{\"IValue\":7}"},
    {69, L"{}"},
    {70, L"{}"},
    {71, L"{\"IValue\":17}"},
    {72, L"{}"},
    {73, L"{\"Status\":true,\"Mode\":2,\"StartHour\":22,\"StartMinute\":30,\"EndHour\":6,\"EndMinute\":15}"},
    {74, L"{}"},
    {75, L"{\"RedGain\":90,\"GreenGain\":80,\"BlueGain\":70}"},
    {76, L"{}"},
    {77, L"{}"},
    {78, L"{\"IValue\":60}"},
    {79, L"{\"IValue\":1}"},
    {91, L"{}"},
    {92, L"{\"IValue\":15}"},
    {93, L"{}"},
    {101, L"{}"},
    {102, L"{}"},
    {103, L"{\"IValue\":2}"},
    {110, L"{\"ModeName\":\"music\",\"UserPicks\":[2]}"},
    {111, L"{}"},
    {121, L"{}"},
    {122, L"{\"BValue\":false}"},
    {131, L"{}"},
    {132, L"{}"},
    {133, L"{\"IValue\":2}"},
};

}  // namespace Qv::Tests
