#include <cstdint>
#include <string>
#include <gtest/gtest.h>
#include <boost/make_shared.hpp>
#include "logging/FunctionParameters.h"
#include "logging/ParameterHolder.h"
#include "logging/ParameterHolderSnapShot.h"

TEST(FunctionParameters, EmptyListIsFunctionNameAndParentheses)
{
    FunctionParameters params("CPopupThread::Run");
    EXPECT_EQ("CPopupThread::Run()", params.Text());
}

TEST(FunctionParameters, OneUnsigned64BitParameter)
{
    uint64_t uiRecvSize = 4096;
    FunctionParameters params("CPopupThread::MsgHandler");
    params.Add("uiRecvSize", &uiRecvSize);
    EXPECT_EQ("CPopupThread::MsgHandler([uiRecvSize] = 4096, )", params.Text());
}

TEST(FunctionParameters, TwoHoldersPrintInRegistrationOrder)
{
    int iIndex = -3;
    uint64_t uiRecvSize = UINT64_MAX;
    FunctionParameters params("F");
    params.Add("iIndex", &iIndex);
    params.Add("uiRecvSize", &uiRecvSize);
    EXPECT_EQ("F([iIndex] = -3, [uiRecvSize] = 18446744073709551615, )", params.Text());
}

TEST(FunctionParameters, HolderShowsTheValueAtPrintingTime)
{
    int iIndex = 1;
    FunctionParameters params("F");
    params.Add("iIndex", &iIndex);
    iIndex = 42;
    EXPECT_EQ("F([iIndex] = 42, )", params.Text());
}

TEST(FunctionParameters, ConstParameter)
{
    const int iCount = 7;
    FunctionParameters params("F");
    params.Add("iCount", &iCount);
    EXPECT_EQ("F([iCount] = 7, )", params.Text());
}

TEST(ParameterHolder, IntTextIsPlainDecimal)
{
    int iValue = 0;
    paramtrace::ParameterHolder<int> holder("iValue", &iValue);
    EXPECT_EQ("iValue", holder.GetName());
    EXPECT_EQ("0", holder.GetValueText());
    iValue = -2147483647 - 1;
    EXPECT_EQ("-2147483648", holder.GetValueText());
    iValue = 120;
    EXPECT_EQ("120", holder.GetValueText());
}

TEST(ParameterHolder, SnapShotFreezesNameAndText)
{
    int iValue = 5;
    auto pHolder = boost::make_shared<paramtrace::ParameterHolder<int>>("iValue", &iValue);
    boost::shared_ptr<paramtrace::IParameterHolder> pSnap = pHolder->SnapShot();
    iValue = 6;
    EXPECT_EQ("iValue", pSnap->GetName());
    EXPECT_EQ("5", pSnap->GetValueText());
    EXPECT_EQ("6", pHolder->GetValueText());

    boost::shared_ptr<paramtrace::IParameterHolder> pCopy = pSnap->SnapShot();
    EXPECT_EQ("iValue", pCopy->GetName());
    EXPECT_EQ("5", pCopy->GetValueText());
}

TEST(ParameterHolderSnapShot, KeepsItsText)
{
    paramtrace::ParameterHolderSnapShot snap("stuPrinterInfo", "frozen text");
    EXPECT_EQ("stuPrinterInfo", snap.GetName());
    EXPECT_EQ("frozen text", snap.GetValueText());
    EXPECT_EQ("frozen text", snap.SnapShot()->GetValueText());
}
