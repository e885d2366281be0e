# RF channel plan: rf/rf-plans.csv becomes a C++ table at build time, so a
# corrected channel is one edited CSV line and a rebuild.
set(TAVEL_RF_PLAN_CSV ${PROJECT_SOURCE_DIR}/rf/rf-plans.csv)
set(TAVEL_RF_PLAN_TABLE ${PROJECT_BINARY_DIR}/generated/rf_plan_table.cpp)
add_custom_command(
  OUTPUT ${TAVEL_RF_PLAN_TABLE}
  COMMAND ${CMAKE_COMMAND} -DCSV=${TAVEL_RF_PLAN_CSV} -DOUT=${TAVEL_RF_PLAN_TABLE}
          -P ${PROJECT_SOURCE_DIR}/rf/make_rf_plan_table.cmake
  DEPENDS ${TAVEL_RF_PLAN_CSV} ${PROJECT_SOURCE_DIR}/rf/make_rf_plan_table.cmake
  COMMENT "Generating the RF channel plan table from rf/rf-plans.csv"
  VERBATIM)
target_sources(tavel_objects PRIVATE ${TAVEL_RF_PLAN_TABLE})
