#include "jobsettings/optionsource.h"

#include "jobsettings/joboptions.h"

namespace kesto {
namespace {

using OptionSource = test::JobOptions;

TEST_F(OptionSource, TakesTheTicketBeforeThePpdAndThePpdBeforeNothing) {
  usePpdDefault("TonerSave", "FromPpd");
  EXPECT_STREQ(resolveOption("TonerSave=FromTicket", "TonerSave"), "FromTicket");
  EXPECT_STREQ(resolveOption("TonerSave=", "TonerSave"), "");
  EXPECT_STREQ(resolveOption("Other=1", "TonerSave"), "FromPpd");
  EXPECT_EQ(resolveOption("", "improve"), nullptr);
  EXPECT_EQ(resolveOption(nullptr, "improve"), nullptr);
}

TEST_F(OptionSource, KeepsWhatItGaveOutWhenOtherTicketsAndPpdsFollow) {
  usePpdDefault("DupDryTime", "5");
  const char* fromPpd = resolveOption("", "DupDryTime");
  const char* fromTicket = ticketValue("DupDryTime=7", "DupDryTime");
  usePpdDefault("DupDryTime", "6");
  EXPECT_STREQ(resolveOption("a=b", "DupDryTime"), "6");
  EXPECT_STREQ(fromPpd, "5");
  EXPECT_STREQ(fromTicket, "7");
  EXPECT_EQ(ticketValue("DupDryTime=7", "DupDryTime"), fromTicket) << "the same ticket is parsed once";
}

TEST_F(OptionSource, ForgetsAnEarlierJobWhenReleased) {
  usePpdDefault("DupDryTime", "5");
  EXPECT_STREQ(resolveOption("", "DupDryTime"), "5");
  releaseOptionSource();
  releaseOptionSource();
  std::ofstream(ppdPath) << "*PPD-Adobe: \"4.3\"\n";
  EXPECT_EQ(resolveOption("", "DupDryTime"), nullptr);
}

TEST_F(OptionSource, FindsTheFirstOptionOfAPrefixWithCase) {
  EXPECT_STREQ(ticketValueByPrefix("MediaType=no media=Legal sides=one", "media"), "Legal");
  EXPECT_STREQ(ticketValueByPrefix("mediasize=A5", "media"), "A5");
  EXPECT_EQ(ticketValueByPrefix("MEDIA=A5 imedia=A4", "media"), nullptr);
}

TEST_F(OptionSource, SurvivesBrokenTickets) {
  EXPECT_STREQ(ticketValue("PageSize=\"Legal TonerSave=On", "PageSize"), "Legal TonerSave=On");
  EXPECT_STREQ(ticketValue("a='b c d={e f PageSize=A4", "a"), "b c d={e f PageSize=A4");
  EXPECT_EQ(ticketValue("{{{ = == \\ \" '", "PageSize"), nullptr);
  const std::string huge(10000, 'x');
  EXPECT_EQ(ticketValue(("DupDryTime=" + huge).c_str(), "DupDryTime"), huge);
}

TEST_F(OptionSource, TreatsABadPpdAsNone) {
  ::testing::internal::CaptureStderr();
  for (const std::string& content : {std::string(), std::string("%PDF-1.7\n"), std::string(5000, '\0')}) {
    usePpdFile(content);
    EXPECT_EQ(ppdDefaultChoice("PageSize"), nullptr) << content;
    EXPECT_EQ(ppdAttribute(jobPpd(), "DefaultOutputOrder"), nullptr) << content;
  }
  for (const char* path : {"/nonexistent/printer.ppd", "", "/"}) {
    setPpdPath(path);
    EXPECT_EQ(jobPpd(), nullptr) << path;
    EXPECT_EQ(getIntAttrFromPPD(jobPpd(), "MaxMediaWidth", 612), 612);
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(OptionSource, ReadsATruncatedPpdAsFarAsItGoesOrNotAtAll) {
  const std::string whole =
      "*PPD-Adobe: \"4.3\"\n*OpenUI *PageSize: PickOne\n*DefaultPageSize: Legal\n*PageSize Legal: \"<</P 1>>\"\n"
      "*CloseUI: *PageSize\n*MaxMediaWidth: \"842\"\n";
  ::testing::internal::CaptureStderr();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    usePpdFile(whole.substr(0, length));
    const char* size = ppdDefaultChoice("PageSize");
    EXPECT_TRUE(size == nullptr || std::string("Legal").starts_with(size)) << length << " " << size;
  }
  usePpdFile(whole + "*PageSize Le" + std::string(100000, 'g'));
  EXPECT_STREQ(resolveOption("PageSize=A4", "PageSize"), "A4");
  ppdDefaultChoice("PageSize");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(OptionSource, ReadsIntegersFromMainKeywords) {
  usePpd("*MaxMediaWidth: \"842\"\n*MaxMediaHeight: -7 points\n*Words: \"many\"\n*Empty: \"\"\n");
  EXPECT_EQ(getIntAttrFromPPD(jobPpd(), "MaxMediaWidth", 612), 842);
  EXPECT_EQ(getIntAttrFromPPD(jobPpd(), "MaxMediaHeight", 1008), -7);
  EXPECT_EQ(getIntAttrFromPPD(jobPpd(), "Words", 5), 0);
  EXPECT_EQ(getIntAttrFromPPD(jobPpd(), "Missing", 5), 5);
}

}  // namespace
}  // namespace kesto
