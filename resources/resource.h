/*
 * Resource ids of Pelnor. Numbers are fixed: menus, menu bars, dialogs,
 * bitmaps, accelerators and strings are referred to by these values.
 */
#ifndef PELNOR_RESOURCE_H
#define PELNOR_RESOURCE_H

/* ---- icon, accelerators ---- */
#define IDI_PELNOR              108
#define IDA_MAIN                131 /* the only table loaded */
#define IDA_EXIT_ONLY           132
#define IDA_COPY_EXIT           133
#define IDA_POSTING             161 /* keys of posting, used only while it is on */

/* ---- menus and menu bars (RCDATA of the same id) ---- */
#define IDR_ARTICLE_BAR         145
#define IDR_SUBJECT_BAR         147
#define IDR_GROUP_BAR           149
#define IDR_DRAFTS_MENU         151

/* ---- bitmaps ---- */
#define IDB_GROUP_BAR           107 /* 1 image  */
#define IDB_SUBJECT_BAR         132 /* 6 images */
#define IDB_ARTICLE_BAR         141 /* 2 images */
#define IDB_SUBSCRIBE_MARKS     114 /* 2 images, 8 pixels wide */
#define IDB_READ_MARK           115 /* 10 x 10 */
#define IDB_FILE_IMAGES         116 /* 4 images, 16 x 16 */
#define IDB_PRIORITY_LOW        137 /* 10 x 10 */
#define IDB_PRIORITY_HIGH       139 /* 10 x 10 */

#define GROUP_BAR_IMAGES        1
#define SUBJECT_BAR_IMAGES      6
#define ARTICLE_BAR_IMAGES      2

/* ---- dialogs ---- */
#define IDD_ABOUT               100
#define IDD_FILE_CHOOSER        101
#define IDD_PAGE_MAIN           102
#define IDD_PROGRESS            103
#define IDD_GROUP_LIST          110
#define IDD_SUBSCRIBE           112
#define IDD_PAGE_POSTING        117
#define IDD_CATCHUP             120
#define IDD_PAGE_AUTH           124
#define IDD_PASSWORD            125
#define IDD_PAGE_KEYS           128
#define IDD_PAGE_CHARS          129
#define IDD_PAGE_CONNECTION     130
#define IDD_DIALUP              131
#define IDD_KEYWORD             133
#define IDD_PAGE_COLOUR         142
#define IDD_PAGE_USER           144
#define IDD_CERTIFICATE         150
#define IDD_DRAFT_EDITOR        160

/* ---- controls of the About box ---- */
#define IDC_ABOUT_ICON          1200
#define IDC_ABOUT_NAME          1201
#define IDC_ABOUT_VERSION       1202

/* ---- controls of the catch-up dialog ---- */
#define IDC_CATCHUP_LOCAL       1019
#define IDC_CATCHUP_SERVER      1020

/* ---- controls of the progress, group-list and password dialogs ---- */
#define IDC_PROGRESS_GROUP      1003
#define IDC_PROGRESS_BAR        1004
#define IDC_GROUP_COUNT         1012
#define IDC_PASSWORD            1025
#define IDC_PASSWORD_USER       1026
#define IDC_GROUP_LIST_DONE     103 /* command of the group-list completion notice */

/* ---- controls of the subscribe dialog ---- */
#define IDC_SUBSCRIBE_LIST          1015
#define IDC_SUBSCRIBE_DOWNLOAD      1016
#define IDC_SUBSCRIBE_CATEGORIES    1017

/* ---- controls of the dial-up dialog (Cancel is IDCANCEL) ---- */
#define IDC_DIALUP_STATUS       1031

/* ---- controls of the keyword dialog (OK and Cancel are IDOK, IDCANCEL) ---- */
#define IDC_KEYWORD             1039
#define IDC_KEYWORD_HIGH        1040
#define IDC_KEYWORD_NORMAL      1041
#define IDC_KEYWORD_LOW         1042

/* ---- controls of the file chooser (Cancel is IDCANCEL) ---- */
#define IDC_CHOOSER_OK          1062
#define IDC_CHOOSER_TREE        1063

/* ---- controls of the properties pages ---- */
#define IDC_MAIN_SERVER         1000
#define IDC_MAIN_PORT           1001
#define IDC_MAIN_FOLDER         1002
#define IDC_MAIN_LIMIT          1011
#define IDC_MAIN_TLS            1070
#define IDC_MAIN_COMPRESS       1071
#define IDC_MAIN_CHARSETS       1075
#define IDC_CERT_PROBLEM        1072
#define IDC_CERT_DETAILS        1073
#define IDC_CERT_TRUST          1074
#define IDC_BROWSE              1016 /* "..." of the main and posting pages */
#define IDC_AUTH_USE            1023
#define IDC_AUTH_ID             1024
#define IDC_AUTH_PASSWORD       1025
#define IDC_AUTH_REENTER        1026
#define IDC_KEYS_ONE_LINE       1027
#define IDC_KEYS_AUTO_NEXT      1028
#define IDC_CONN_DIALUP         1029
#define IDC_CONN_ENTRY          1030
#define IDC_CONN_WAIT           1038
#define IDC_CHARS_SUBJECT_SIZE  1032
#define IDC_CHARS_FONT          1034
#define IDC_CHARS_ARTICLE_SIZE  1035
#define IDC_CHARS_KCTRL         1036
#define IDC_COLOUR_RED          1044
#define IDC_COLOUR_GREEN        1045
#define IDC_COLOUR_BLUE         1046
#define IDC_COLOUR_SAMPLE       1047
#define IDC_COLOUR_RED_VALUE    1049
#define IDC_COLOUR_GREEN_VALUE  1050
#define IDC_COLOUR_BLUE_VALUE   1051
#define IDC_COLOUR_ITEM         1053
#define IDC_USER_NAME           1054
#define IDC_USER_MAIL           1055
#define IDC_USER_ORGANIZATION   1056
#define IDC_POSTING_EDITOR      1055
#define IDC_MAIN_POSTING        1310

/* ---- controls of the draft editor (Cancel is IDCANCEL) ---- */
#define IDC_EDITOR_NEWSGROUPS_LABEL 1300
#define IDC_EDITOR_NEWSGROUPS   1301
#define IDC_EDITOR_SUBJECT_LABEL 1302
#define IDC_EDITOR_SUBJECT      1303
#define IDC_EDITOR_BODY         1304
#define IDC_EDITOR_QUEUE        1305
#define IDC_EDITOR_SAVE         1306

/* ---- the drafts pane's tree ---- */
#define IDC_DRAFT_TREE          1320
#define PELNOR_COLOUR_SAMPLE_CLASS_A "PelnorColourSample" /* window class of the sample */

/* ---- children of the subject and article views ---- */
#define IDC_SUBJECT_SCROLL      105
#define IDC_SUBJECT_HEADER      109

/* ---- child window ids of the frame ---- */
#define IDC_GROUP_VIEW          101
#define IDC_ARTICLE_VIEW        104
#define IDC_SUBJECT_VIEW        106

/* ---- commands ---- */
#define IDM_EXIT                40001
#define IDM_PROPERTIES          40002
#define IDM_GET_ARTICLES        40003
#define IDM_DELETE_READ         40004
#define IDM_ABOUT               40005
#define IDM_TOGGLE_READ         40006
#define IDM_SUBSCRIBE           40007
#define IDM_CATCHUP             40011
#define IDM_COPY                40012
#define IDM_VIEW_READ           40013
#define IDM_FILTER              40014
#define IDM_SHOW_HEADER         40015
#define IDM_PRIORITY_HIGH       40016
#define IDM_PRIORITY_NORMAL     40017
#define IDM_PRIORITY_LOW        40018
#define IDM_DRAFTS_VIEW         40019
#define IDM_DRAFTS_GROUPS       40020
#define IDM_COMPOSE             40021
#define IDM_SEND_ONLY           40120
#define IDM_FOLLOW_UP           40100
#define IDM_DRAFT_EDIT          40101
#define IDM_DRAFT_DELETE        40102
#define IDM_DRAFT_TO_WAITING    40103
#define IDM_DRAFT_TO_DRAFTS     40104
#define IDM_CHOOSE_EXE          40022
#define IDM_SUBJECT_BACK        40077
#define IDM_ARTICLE_BACK        40082
#define IDM_SUBJECT_POPUP       40087 /* drop-down buttons of the menu bars */
#define IDM_ARTICLE_POPUP       40088
#define IDM_ARTICLE_TOOLS       40089
#define IDM_SUBJECT_TOOLS       40090
#define IDM_GROUP_POPUP         40091
#define IDM_GROUP_TOOLS         40092
#define IDM_DRAFTS_FILE_POPUP   40093 /* buttons of the drafts bar */
#define IDM_DRAFTS_POPUP        40094

/* ---- strings with fixed numbers ---- */
#define IDS_HEADER_LINES        1
#define IDS_QUOTED_LINES        3
#define IDS_DATA_INIT_FAILED    7
#define IDS_NO_MEMORY           11
#define IDS_GROUP_FILE_OPEN     19  /* group list of Delete read articles */
#define IDS_GROUP_LIST_OPEN     21
#define IDS_INDEX_INIT_FAILED   23
#define IDS_MARK_READ_FAILED    25
#define IDS_SAVE_OPTION_FAILED  55
#define IDS_FILE_OPEN_FAILED    57
#define IDS_FILTER_WRITE_FAILED 59
#define IDS_GROUP_LIST_FAILED   97
#define IDS_SET_USER_NAME       99
#define IDS_SET_MAIL_ADDRESS    101
#define IDS_PROPERTIES_UNSET    103
#define IDS_COL_NEWSGROUP       105
#define IDS_COL_UNREAD          107
#define IDS_COL_ARTICLES        109
#define IDS_COL_STATUS          111
#define IDS_COL_CURRENT         113
#define IDS_COL_MAXIMUM         115
#define IDS_COL_DATE            117
#define IDS_COL_FROM            119
#define IDS_COL_SUBJECT         121
#define IDS_PROPERTIES          123
#define IDS_PAGE_MAIN           125
#define IDS_PAGE_AUTH           127
#define IDS_PAGE_KEYS           129
#define IDS_PAGE_CONNECTION     131
#define IDS_PAGE_CHARS          133
#define IDS_PAGE_COLOUR         135
#define IDS_PAGE_USER           137
#define IDS_PAGE_POSTING        139
#define IDS_COL_MARKS           141
#define IDS_DRAFTS_WAITING      143
#define IDS_DRAFTS_DRAFTS       145
#define IDS_DRAFTS_SENT         147

/* menu-bar button texts */
#define IDS_BAR_ARTICLE         161
#define IDS_BAR_TOOLS           163
#define IDS_BAR_SUBJECT         165
#define IDS_BAR_GROUP           167

/* ---- further texts: captions ---- */
#define IDS_CAPTION_PELNOR      201
#define IDS_CAPTION_ERROR       202
#define IDS_CAPTION_DEBUG       203
#define IDS_CAPTION_GROUP       204
#define IDS_CAPTION_SOCKET      205 /* "Socket Error" */
#define IDS_CAPTION_SOCKET_UC   206 /* "Socket ERROR" */
#define IDS_CAPTION_DELETE_READ 207
#define IDS_CAPTION_CATCHUP_LOCAL  208
#define IDS_CAPTION_CATCHUP_SERVER 209
#define IDS_CAPTION_DISCONNECT  210
#define IDS_CAPTION_UPPER_ERROR 211 /* "ERROR" */
#define IDS_CAPTION_COMPOSE     212
#define IDS_CAPTION_SELECTED    213
#define IDS_CAPTION_DIALUP_ERROR 214

/* ---- shell ---- */
#define IDS_WINSOCK_FAILED      220
#define IDS_MENUBAR_FAILED      221
#define IDS_SWITCH_FAILED       222
#define IDS_ASK_DELETE_READ     223
#define IDS_DELETE_READ_FAILED  224
#define IDS_CATCHUP_SET_FAILED  225
#define IDS_INDEX_INVALID       226
#define IDS_NOT_INITIALIZED     227
#define IDS_VERSION             229
#define IDS_PROGRAM_NAME        230

/* ---- download session and run ---- */
#define IDS_CONNECT_FAILED      240
#define IDS_NO_GREETING         241
#define IDS_CONNECTION_REFUSED  242
#define IDS_SEND_FAILED         243
#define IDS_RECV_FAILED         244
#define IDS_BAD_USER            245
#define IDS_BAD_PASSWORD        246
#define IDS_GROUP_FAILED        247
#define IDS_UNEXPECTED_REPLY    248
#define IDS_NO_NEW_ARTICLES     249
#define IDS_INDEX_OPEN_FAILED   250
#define IDS_INDEX_WRITE_FAILED  251
#define IDS_RECV_INCOMPLETE     252
#define IDS_LOG_WRITE_FAILED    253
#define IDS_FETCHED_LIMIT       254
#define IDS_FETCHED_COUNT       255
#define IDS_DOWNLOAD_DONE       256
#define IDS_THREAD_FAILED       257

/* ---- group view ---- */
#define IDS_INDEX_FILE_INIT_FAILED 270
#define IDS_CATCHUP_PENDING     271

/* ---- group-list download ---- */
#define IDS_GL_CONNECT          280
#define IDS_GL_RECV_CONNECT     281
#define IDS_GL_REFUSED          282
#define IDS_GL_SEND             283
#define IDS_GL_RECV             284
#define IDS_GL_OPEN_ACTIVE      285
#define IDS_GL_OPEN_CATEGORY    286
#define IDS_GL_HASH_INIT        287
#define IDS_GL_SEND_FAILED      288
#define IDS_GL_RECV_FAILED      289
#define IDS_GL_LIST_FAILED      290
#define IDS_GL_UNEXPECTED       291
#define IDS_GL_UNEXPECTED_NOMEM 292
#define IDS_GL_WRITE_FAILED     293
#define IDS_GL_HASH_WRITE       294
#define IDS_GL_INCOMPLETE       295
#define IDS_GL_COUNT            296

/* ---- subscribe dialog ---- */
#define IDS_SUB_INIT_FAILED     300
#define IDS_SUB_OPEN_FAILED     301
#define IDS_SUB_LOAD_FAILED     302
#define IDS_SUB_READ_FAILED     303
#define IDS_SUB_WRITE_OPEN      304
#define IDS_SUB_WRITE_FAILED    305
#define IDS_SUB_LEFT_OUT        306

/* ---- drafts, properties, file chooser ---- */
#define IDS_COMPOSE             310
#define IDS_NONE                311
#define IDS_SET_PASS_MODE       312
#define IDS_SET_DIALUP_MODE     313
#define IDS_CHOOSE_FOLDER       314
#define IDS_CHOOSE_EDITOR       315
#define IDS_CHOOSE_EXE          316

/* ---- dial-up ---- */
#define IDS_RAS_OPEN_PORT       320
#define IDS_RAS_PORT_OPENED     321
#define IDS_RAS_CONNECT_DEVICE  322
#define IDS_RAS_DEVICE_CONNECTED 323
#define IDS_RAS_AUTHENTICATE    324
#define IDS_RAS_AUTHENTICATED   325
#define IDS_RAS_CONNECTED       326
#define IDS_RAS_DISCONNECTED    327
#define IDS_RAS_FAILED          328
#define IDS_RAS_CONNECTING_TO   329
#define IDS_RAS_DISCONNECTING   330
#define IDS_RAS_WILL_DISCONNECT 331

/* Texts added after the first version's table. */
#define IDS_GROUPS_NOT_NAMED    460
#define IDS_RUN_STOPPING        461
#define IDS_RUN_STOPPED         462
#define IDS_PATH_TOO_LONG       463
#define IDS_BAR_FILE            464 /* drafts bar: "ファイル" ("草稿" is IDS_DRAFTS_DRAFTS) */

/* ---- encrypted connections ---- */
#define IDS_TLS_FAILED          470
#define IDS_TLS_CA_FILE         471
#define IDS_TLS_CERT_REFUSED    472
#define IDS_TLS_STARTTLS_REFUSED 473
#define IDS_TLS_REQUIRED        474
#define IDS_CERT_INTRO          475
#define IDS_CERT_PIN_CHANGED    476
#define IDS_CERT_UNTRUSTED      477
#define IDS_CERT_WRONG_HOST     478
#define IDS_CERT_EXPIRED        479
#define IDS_CERT_NOT_YET_VALID  480
#define IDS_CERT_OTHER_FAULT    481
#define IDS_CERT_DETAILS        482
#define IDS_CERT_PIN_FAILED     483
#define IDS_TLS_MODE_NONE       484
#define IDS_TLS_MODE_IMPLICIT   485
#define IDS_TLS_MODE_STARTTLS   486

/* Sending the waiting drafts. */
#define IDS_CAPTION_POSTING     650
#define IDS_POSTING_LABEL       651
#define IDS_POST_REFUSED        652
#define IDS_DRAFT_INCOMPLETE    653
#define IDS_DRAFT_UNREADABLE    654
#define IDS_DRAFTS_KEPT         655
#define IDS_NOTHING_TO_SEND     656
#define IDS_SEND_DONE           657
#define IDS_ITEM_SEND_ONLY      658

/* ---- posting: menu items added while it is on, the editor, the pane ---- */
#define IDS_ITEM_FOLLOW_UP      600
#define IDS_ITEM_COMPOSE        601
#define IDS_ITEM_DRAFTS         602
#define IDS_ITEM_DRAFT_EDIT     603
#define IDS_ITEM_DRAFT_DELETE   604
#define IDS_ITEM_TO_WAITING     605
#define IDS_ITEM_TO_DRAFTS      606
#define IDS_NEED_NEWSGROUPS     610
#define IDS_NEED_SUBJECT        611
#define IDS_ASK_DELETE_DRAFT    612
#define IDS_DRAFT_WRITE_FAILED  613
#define IDS_DRAFT_READ_FAILED   614
#define IDS_DRAFT_DELETE_FAILED 615
#define IDS_DRAFT_MOVE_FAILED   616
#define IDS_EDITOR_START_FAILED 617
#define IDS_ERROR_NUMBER        618
#define IDS_ATTRIBUTION         619
#define IDS_ARTICLE_READ_FAILED 620

/* Threads in the subject view. */
#define IDM_THREAD_VIEW         40160
#define IDM_NEXT_THREAD         40161
#define IDM_PREVIOUS_THREAD     40162
#define IDM_THREAD_READ         40163

/* ---- search (commands 40140-40159, dialogs 170-179, controls 1340-1379,
 * strings 700-749) ---- */
#define IDM_SEARCH              40140
#define IDM_FIND_NEXT           40141
#define IDD_SEARCH              170
#define IDC_SEARCH_TEXT         1340
#define IDC_SEARCH_SUBJECT      1341
#define IDC_SEARCH_SENDER       1342
#define IDC_SEARCH_BODY         1343
#define IDC_SEARCH_THIS_GROUP   1344
#define IDC_SEARCH_ALL_GROUPS   1345
#define IDC_SEARCH_STOP         1346
#define IDC_SEARCH_STATUS       1347
#define IDC_SEARCH_PROGRESS     1348
#define IDC_SEARCH_RESULTS      1349
#define IDC_SEARCH_DONE         1350 /* command of the search's end */
#define IDS_CAPTION_SEARCH      700
#define IDS_SEARCH_COL_GROUP    701
#define IDS_SEARCH_COL_SUBJECT  702
#define IDS_SEARCH_COL_SENDER   703
#define IDS_SEARCH_COL_DATE     704
#define IDS_SEARCH_SEARCHING    705
#define IDS_SEARCH_FOUND        706
#define IDS_SEARCH_STOPPED      707
#define IDS_SEARCH_NO_FIELD     708
#define IDS_SEARCH_GROUP_FAILED 709
#define IDS_SEARCH_NOT_FOUND    710
#define IDS_SEARCH_NO_TEXT      711

#endif
