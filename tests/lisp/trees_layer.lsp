;;; The application layer's floor and zone trees: storing what the dialogs hand back, new floors
;;; and rooms, and the dialogs end to end with queued clicks. Exit 1 when a result is wrong.

(setq tr-failures 0)
(defun tr-check (name ok)
  (if (not ok) (progn (princ (strcat "\nFAIL " name)) (setq tr-failures (1+ tr-failures))))
  ok)

;; The work folder ctest gives this run, its own for each checkout and back end; by hand, a
;; folder in /tmp.
(setq root (strcat (cond ((getenv "KV_SCENARIO_DIR")) ("/tmp/kv_lisp_trees")) "/"))
;; The project file is named after its folder.
(setq project (vl-filename-base (vl-string-right-trim "/" root)))
(foreach f (list "trees.dwg" (strcat project "_kv_hvac.kv") (strcat project "_kv_hvac.kvlink")) (vl-file-delete (strcat root f)))
(kvhost-new)
(tr-check "save" (kvhost-save-as (strcat root "trees.dwg")))
(kvhost-close (strcat root "trees.dwg"))
(projectdb-createProject root)
(tr-check "open" (kvhost-open (strcat root "trees.dwg")))

;; What saveTree gets is what the project keeps, quotes and all.
(kv_hvac-floorTree-saveTree '(("Floor 1 'north'" . 1)))
(tr-check "stored" (equal (tree-hvac-load "floor") '(("Floor 1 'north'" . 1))))
(tr-check "a new floor is selected and added"
          (equal (kv_hvac-floorTree-editFloors 0) '(2 (("Floor 1 'north'" . 1) ("Floor 2" . 2)))))
;; A new room is drawn by picks and filed under the first floor.
(kvhost-input "point 0,0" "point 40,0" "point 40,30" "point 0,30" "enter" "point 20,15")
(tr-check "room filed"
          (equal (kv_hvac-floorTree-createRoom)
                 '(("Floor 1 'north'" . 1) (("Room 1" . -1)) ("Floor 2" . 2))))
(tr-check "zone tree apart" (null (tree-hvac-load "zone")))

;; The dialog: Edit Floors adds floor 3, Create Room ends the dialog, draws room 2 and shows the
;; tree again, OK stores it.
(kvhost-input "click #4" "click #8"
              "point 100,0" "point 140,0" "point 140,30" "point 100,30" "enter" "point 120,15"
              "click #1")
(tr-check "floor tree answers T" (kv_hvac-floorTree (tree-hvac-get "floor")))
(tr-check "the stored tree after the dialog"
          (equal (tree-hvac-load "floor")
                 '(("Floor 1 'north'" . 1) (("Room 1" . -1) ("Room 2" . -2)) ("Floor 2" . 2) ("Floor 3" . 3))))
(tr-check "every queued event was used" (= 0 (kvhost-input)))

;; Cancel keeps what the last button stored.
(kvhost-input "click #6" "click #2")
(kv_hvac-zoneTree '(("Zone 1" . 1) (("Room 1" . -1))))
(tr-check "zone added before cancel" (equal (tree-hvac-load "zone") '(("Zone 1" . 1) (("Room 1" . -1)) ("Zone 2" . 2))))
;; View Load on a room opens its Load Detail (OK answers 0).
(kvhost-input "click #1")
(tr-check "view load" (= 0 (kv_hvac-zoneTree-view -1)))

(if (> tr-failures 0) (exit 1))
(princ "\ntrees_layer: all checks passed")
