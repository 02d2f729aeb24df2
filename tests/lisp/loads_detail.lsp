;;; Load Detail through the module's row and the KV-LOADDETAIL command: wrong arguments, the two
;;; results, and a picked room whose stored loads open the report. Exit 1 when a result is wrong.

(setq ld-failures 0)
(defun ld-method-cases ()
  (foreach case '(("ASHRAE2010" . "YES") ("ASHRAE2007" . "YES") ("YES" . "YES") ("IMC2009" . "IMC") ("IMC" . "IMC") ("NO" . "NO"))
    (kvdb-execute file (strcat "UPDATE tblGlobal SET sText = '" (car case) "' WHERE sKey = 'bldg-ASHRAE62'"))
    (ld-check (strcat "method " (car case)) (= (cdr case) (loads-hvac-method)))))
(defun ld-check (name ok)
  (if (not ok) (progn (princ (strcat "\nFAIL " name)) (setq ld-failures (1+ ld-failures))))
  ok)
(defun ld-error (expr / r)
  (setq r (vl-catch-all-apply 'eval (list expr)))
  (if (vl-catch-all-error-p r) (vl-catch-all-error-message r)))

;; The work folder ctest gives this run, its own for each checkout and back end; by hand, a
;; folder in /tmp.
(setq root (strcat (cond ((getenv "KV_SCENARIO_DIR")) ("/tmp/kv_lisp_loaddetail")) "/"))
(foreach f (list "loads.dwg" (strcat (vl-filename-base (vl-string-right-trim "/" root)) "_kv_hvac.kv")
                 (strcat (vl-filename-base (vl-string-right-trim "/" root)) "_kv_hvac.kvlink"))
  (vl-file-delete (strcat root f)))
(kvhost-new)
(ld-check "save" (kvhost-save-as (strcat root "loads.dwg")))
(kvhost-close (strcat root "loads.dwg"))
(projectdb-createProject root)
(ld-check "open" (kvhost-open (strcat root "loads.dwg")))

;; Each argument of the wrong type fails before any dialog shows (the queue stays unread).
(kvhost-input "click #1006")
(ld-check "title not a string" (ld-error '(kv_hvac-loadDetail 1 -1)))
(ld-check "area not a number" (ld-error '(kv_hvac-loadDetail "R" -1 nil "NO" "big")))
(ld-check "too few" (ld-error '(kv_hvac-loadDetail "R" -1 nil "NO" 1.0 2.0 6 14 0 0 55 70 0 0 6)))
;; The queued click is still there: Calculate This Load answers 1, OK 0.
(ld-check "calculate gives 1" (= 1 (kv_hvac-loadDetail "R" -1 nil "NO" 1.0 2.0 6 14 0 0 55 70 0 0 6 14 nil nil)))
(kvhost-input "click #1")
(ld-check "ok gives 0" (= 0 (kv_hvac-loadDetail "R" -1 nil "NO" 1.0 2.0 6 14 0 0 55 70 0 0 6 14 nil nil)))

;; A room with two calculated hours: the command opens on the larger.
(kvhost-input "point 0,0" "point 40,0" "point 40,30" "point 0,30" "enter" "point 20,15")
(ld-check "room" (room-hvac-draw "Office"))
(setq file (projectdb-currentFile))
(kvdb-execute file "INSERT INTO tblLoadRoomCooling (ixRoomL, iMonth, iHour, dRoomTotal) VALUES (1, 6, 14, 9000)")
(kvdb-execute file "INSERT INTO tblLoadRoomCooling (ixRoomL, iMonth, iHour, dRoomTotal) VALUES (1, 7, 15, 12000)")
(ld-check "peak time" (equal (loads-hvac-peakTime 1) '(7 15)))
(ld-check "no peak for another room" (null (loads-hvac-peakTime 2)))
;; "Calculate This Load" on a room without construction says so and shows the report again.
(kvhost-input "click #1006" "click #1")
(ld-check "no construction: shown again, then OK" (= 0 (loads-hvac-showRoom 1)))
(ld-check "the stored rows stay" (equal (loads-hvac-peakTime 1) '(7 15)))
;; With construction it replaces the stored figures by the calculated ones (the three summer
;; months) before the report comes back; from the zone tree it does so for the zone and its room.
(roomdata-setRoom 1 '(("dArea" . 100.0) ("dPeople" . 1.0)) '(("WALL" "S" 1 100.0 0.1)))
(tree-hvac-store "zone" '(("North" . 4) (("Office" . -1))))
(vl-file-delete (strcat root "zone.png"))
(kvhost-input "click #1006" (strcat "picture " root "zone.png") "click #1")
(ld-check "recalculated, then OK" (= 0 (kv_hvac-zoneTree-view 4)))
(ld-check "the fresh report's picture" (findfile (strcat root "zone.png")))
(ld-check "the hand-made rows are gone" (null (loads-hvac-value "SELECT iHour FROM tblLoadRoomCooling WHERE dRoomTotal = 12000" "iHour")))
(ld-check "room hours" (= 72 (length (kvdb-query file "SELECT iHour FROM tblLoadRoomCooling WHERE ixRoomL = 1" "iHour"))))
(ld-check "zone hours" (= 72 (length (kvdb-query file "SELECT iHour FROM tblLoadRoomCooling WHERE ixZone = 4" "iHour"))))
(ld-check "zone title" (= "North" (loads-hvac-title 4)))
(ld-check "zone peak is the room's" (equal (loads-hvac-peakTimeOf 4) (loads-hvac-peakTime 1)))
;; The report's ventilation method follows the project's option by family; its current supply air
;; is what the diffusers of the room (or of the zone's rooms) deliver, deleted ones left out.
(ld-method-cases)
(kvdb-execute file "INSERT INTO tblDiffL (ixDiffS, ixRoomL, CFM, bDeleted) VALUES (1, 1, 150.4, 0)")
(kvdb-execute file "INSERT INTO tblDiffL (ixDiffS, ixRoomL, CFM, bDeleted) VALUES (1, 1, 90.0, -1)")
(kvdb-execute file "INSERT INTO tblDiffL (ixDiffS, ixRoomL, CFM, bDeleted) VALUES (1, 2, 70.0, 0)")
(ld-check "room's diffusers" (= 150 (loads-hvac-currentAir -1)))
(ld-check "zone's diffusers" (= 150 (loads-hvac-currentAir 4)))
(ld-check "another room's diffuser" (= 70 (loads-hvac-currentAir -2)))
(ld-check "no diffusers" (= 0 (loads-hvac-currentAir -3)))
;; The command: a pick inside the room opens the report (OK), a pick outside says so; the queue
;; must be empty afterwards, or the dialog never read its click.
(kvhost-input "point 20,20" "click #1" "point 100,100")
(c:kv-loadDetail)
(c:kv-loadDetail)
(ld-check "every queued event was used" (= 0 (kvhost-input)))

(if (> ld-failures 0) (exit 1))
(princ "\nloads_detail: all checks passed")
