" The Arkivon control language.
if exists('b:current_syntax')
  finish
endif
syntax case ignore

syntax keyword arkivonType integer sinteger long slong char widechar double float device devchan devlev
syntax keyword arkivonStorage const volatile non_volatile persistent stack_var local_var
syntax keyword arkivonDeclaration include struct function routine
syntax keyword arkivonEvent button_event data_event level_event timeline_event mainline
syntax keyword arkivonControl if else while for switch case default select active break continue return call
syntax keyword arkivonControl wait cancel_wait cancel_all_wait
syntax keyword arkivonDeviceWord send_string send_command send_level create_level create_buffer clear_buffer
syntax keyword arkivonOperatorWord and or xor not mod band bor bxor bnot lshift rshift
syntax keyword arkivonEventData button data level timeline
syntax keyword arkivonFunction abs_value array_to_base64 array_to_double array_to_float atof atoi atol
syntax keyword arkivonFunction base64_to_array bss_escape_cmd bss_gain_mono_mute bss_gain_mono_vol
syntax keyword arkivonFunction bss_gain_ninput_mute bss_gain_ninput_vol bss_gain_value bss_make_cmd
syntax keyword arkivonFunction bss_matrix_mixer_joint bss_matrix_router bss_meter_trigger_meter
syntax keyword arkivonFunction bss_para_preset bss_source_matrix bss_source_selector bss_unescape_cmd
syntax keyword arkivonFunction bss_venue_preset button_property button_state_property button_text ch_to_wc
syntax keyword arkivonFunction combine_devices compare_string container_call cos_value date_to_day
syntax keyword arkivonFunction date_to_month date_to_year day_of_week delete_all_vars device_id do_push
syntax keyword arkivonFunction double_to_array exp_value file_close file_copy file_delete file_open file_read
syntax keyword arkivonFunction file_read_line file_rename file_seek file_write file_write_line find_string
syntax keyword arkivonFunction float_to_array format ftoa get_buffer_char get_buffer_string get_ip_addr
syntax keyword arkivonFunction get_last get_mac_addr get_master_build get_system_number hextoi
syntax keyword arkivonFunction ip_bound_client_open ip_client_close ip_client_open ip_server_close
syntax keyword arkivonFunction ip_server_open itoa itohex left_string length_array length_string load_var
syntax keyword arkivonFunction log10_value log_line log_value lower_string max_length_array max_length_string
syntax keyword arkivonFunction max_value md5_value mid_string min_value modbus_crc16 page_property play_sound
syntax keyword arkivonFunction power_value process_start random_number raw_be raw_le reboot remove_string
syntax keyword arkivonFunction right_string save_var set_button_property set_button_state_property
syntax keyword arkivonFunction set_container_property set_length_array set_length_string set_page_property
syntax keyword arkivonFunction set_pulse_time set_virtual_channel_count set_virtual_level_count sin_value
syntax keyword arkivonFunction sqrt_value tcp_send time_to_hour time_to_minute time_to_second timeline_active
syntax keyword arkivonFunction timeline_create timeline_kill timeline_pause timeline_restart type_cast
syntax keyword arkivonFunction udp_send uncombine_devices upper_string url_open wakeup_onlan wc_to_ch
syntax keyword arkivonFunction websocket_client_close websocket_client_open websocket_server_close
syntax keyword arkivonFunction websocket_server_open
syntax keyword arkivonConstant clkmgr_mode_network clkmgr_mode_standalone date day do_push_timed_infinite
syntax keyword arkivonConstant false file_read_only file_rw_append file_rw_new first_local_port
syntax keyword arkivonConstant first_virtual_device get_pulse_time get_timer ip_tcp ip_udp ip_udp_2way
syntax keyword arkivonConstant language_version log_debug log_error log_info log_warning normal_standby
syntax keyword arkivonConstant normal_wake null_str push_channel release_channel time timeline_absolute
syntax keyword arkivonConstant timeline_once timeline_relative timeline_repeat true xml_decode_no_preserve
syntax keyword arkivonConstant xml_decode_types xml_encode_char_as_list xml_encode_le xml_encode_types

" Words that are names elsewhere.
syntax match arkivonEvent "\<\%(push\|release\|online\|offline\|string\|command\|onerror\)\>\ze\s*:\s*\d\@!"
syntax match arkivonEvent "\<hold\ze\s*\[[^]]*\]\s*:" nextgroup=arkivonHold skipwhite
syntax region arkivonHold matchgroup=NONE start="\[" end="\]" contained contains=arkivonRepeat,arkivonNumber
syntax keyword arkivonRepeat repeat contained
syntax match arkivonEvent "^\s*\zsstart\ze\s*\%({\|//\|/\*\|(\*\|$\)"
syntax match arkivonDeclaration "\<program\ze\s*'"
syntax match arkivonDeclaration "\<exclusive\ze\s*\["
syntax match arkivonDeclaration "\<combine\ze\s*("
syntax match arkivonDeviceWord "\<\%(on\|off\|to\|pulse\)\ze\s*\["
syntax match arkivonControl "\<capture\ze\s*("

syntax match arkivonMember "\.\@1<!\.\s*\h\k*"
syntax match arkivonNumber "\<\d\+\%(\.\d\+\)\=\%(e[-+]\=\d\+\)\=\>"
syntax match arkivonNumber "\<0x\x\+\>\|\$\x\+\>"
syntax match arkivonDevice "\<\d\+\s*:\s*\d\+\s*:\s*\d\+\>"
syntax region arkivonText start="'" skip="''" end="'\|$"
syntax match arkivonQuote "\""

syntax keyword arkivonTodo TODO FIXME XXX contained
syntax region arkivonComment start="//" end="$" contains=arkivonTodo,@Spell
syntax region arkivonComment start="/\*" end="\*/" contains=arkivonTodo,@Spell
syntax region arkivonComment start="(\*" end="\*)" contains=arkivonTodo,@Spell

highlight default link arkivonType Type
highlight default link arkivonStorage StorageClass
highlight default link arkivonDeclaration Structure
highlight default link arkivonEvent PreProc
highlight default link arkivonRepeat PreProc
highlight default link arkivonControl Statement
highlight default link arkivonDeviceWord Statement
highlight default link arkivonOperatorWord Operator
highlight default link arkivonEventData Identifier
highlight default link arkivonFunction Function
highlight default link arkivonConstant Constant
highlight default link arkivonNumber Number
highlight default link arkivonDevice Constant
highlight default link arkivonText String
highlight default link arkivonQuote Delimiter
highlight default link arkivonComment Comment
highlight default link arkivonTodo Todo

let b:current_syntax = 'arkivon'
