// Text layout and PDF output need one QGuiApplication for the whole run.

#include <gtest/gtest.h>

#include <QGuiApplication>

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication app(argc, argv);
  return RUN_ALL_TESTS();
}
